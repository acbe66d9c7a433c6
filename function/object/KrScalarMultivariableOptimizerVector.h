#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrContainerTokens.h"
#include "function/object/KrXmlVariableVectorType.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"

/// A list of optimizers, in document order.
///
///     <scalarMultivariableOptimizerVector count="2">
///       <hookeJeeves> ... </hookeJeeves>
///       <nelderMead> ... </nelderMead>
///     </scalarMultivariableOptimizerVector>
class KR_EXPORT KrScalarMultivariableOptimizerVector
    : public KrElement<KrScalarMultivariableOptimizerVector,
                       KrXmlVariableVectorType<KrScalarMultivariableOptimizer>,
                       KrFunction::KrScalarMultivariableOptimizerVectorToken> {
public:
    using KrElement::KrElement;

    void registerComponentCreators() override;

    bool operator==(KrScalarMultivariableOptimizerVector const&) const = default;
};
