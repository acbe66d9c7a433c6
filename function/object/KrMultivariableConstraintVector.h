#pragma once

#include "foundation/xml/KrElement.h"
#include "function/multivariable/KrBaseMultivariableConstraint.h"
#include "function/object/KrContainerTokens.h"
#include "function/object/KrXmlVariableVectorType.h"

/// A list of constraints, in document order.
///
///     <multivariableConstraintVector count="1">
///       <linearMultivariableConstraint> ... </linearMultivariableConstraint>
///     </multivariableConstraintVector>
class KR_EXPORT KrMultivariableConstraintVector
    : public KrElement<KrMultivariableConstraintVector,
                       KrXmlVariableVectorType<KrBaseMultivariableConstraint>,
                       KrFunction::KrMultivariableConstraintVectorToken> {
public:
    using KrElement::KrElement;

    void registerComponentCreators() override;

    bool operator==(KrMultivariableConstraintVector const&) const = default;
};
