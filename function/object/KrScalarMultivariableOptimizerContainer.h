#pragma once

#include "foundation/xml/KrElement.h"
#include "function/object/KrBaseExpressionTreeContainer.h"
#include "function/object/KrContainerTokens.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"

/// A container of one optimizer, to which it forwards searches.
///
///     <optimizerContainer><nelderMead> ... </nelderMead></optimizerContainer>
class KR_EXPORT KrScalarMultivariableOptimizerContainer
    : public KrElement<KrScalarMultivariableOptimizerContainer,
                       KrBaseExpressionTreeContainer<KrScalarMultivariableOptimizer>,
                       KrFunction::KrOptimizerContainerToken> {
public:
    /// Calls `findMinimum` of the optimizer. If the container is empty, it returns 0 and leaves
    /// `result` unchanged.
    virtual double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const;

    /// Calls `findMaximum` of the optimizer, likewise.
    virtual double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const;

    void registerComponentCreators() override;

    bool operator==(KrScalarMultivariableOptimizerContainer const&) const = default;
};
