#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"

/// A container of one optimizer, which searches in its place.
///
///     <optimizerContainer><nelderMead> ... </nelderMead></optimizerContainer>
class KR_EXPORT KrScalarMultivariableOptimizerContainer
    : public KrElement<KrScalarMultivariableOptimizerContainer,
                       KrBaseExpressionTreeContainer<KrScalarMultivariableOptimizer>,
                       KrFunction::KrOptimizerContainerToken> {
public:
    /// The optimizer's `findMinimum`. Without an optimizer 0.0, and `result` is
    /// left as it was.
    virtual double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const;

    /// The optimizer's `findMaximum`, likewise.
    virtual double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const;

    void registerComponentCreators() override;

    bool operator==(KrScalarMultivariableOptimizerContainer const&) const = default;
};
