#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"

/// Base of the optimizers: derivative-free searches for a minimum or a maximum
/// of a function from a start point. The parameters of an optimizer are its
/// components; what a search works with is kept in the object between the steps,
/// is rebuilt by every search, and is neither copied nor compared.
///
/// One object runs one search at a time; distinct objects may run on distinct
/// threads. An exception of the function passes through, and the next search is
/// as good as new.
class KR_EXPORT KrScalarMultivariableOptimizer : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrScalarMultivariableOptimizer() override;
    KrScalarMultivariableOptimizer(KrScalarMultivariableOptimizer const&) = default;
    KrScalarMultivariableOptimizer& operator=(KrScalarMultivariableOptimizer const&) = default;

    /// Searches for a minimum of `f` from `start`. Writes the best point found
    /// into `result`, which may be `start` itself, and returns the function's
    /// value there. A start point of another length than `f.domainDim()` is
    /// accepted; each optimizer says what it makes of it.
    virtual double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const = 0;

    /// The same search for a maximum: that of -f for a minimum, but the value
    /// that is returned is f's own.
    virtual double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const = 0;

    bool operator==(KrScalarMultivariableOptimizer const&) const = default;
};
