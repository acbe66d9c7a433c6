#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"

/// Base of the optimizers: derivative-free searches for a minimum or a maximum
/// of a function from a start point.
///
/// The settings of an optimizer are its components. A search does not check them: each
/// accessor gives the admissible range and the effect of other values. The working points
/// stay in the object until the next search. They are neither copied nor compared.
///
/// An object is not thread-safe; distinct objects may run on distinct threads. An exception
/// of the function passes through, and the object can search again.
class KR_EXPORT KrScalarMultivariableOptimizer : public KrBaseExpressionTreeElement {
public:
    using KrBaseExpressionTreeElement::KrBaseExpressionTreeElement;
    ~KrScalarMultivariableOptimizer() override;
    KrScalarMultivariableOptimizer(KrScalarMultivariableOptimizer const&) = default;
    KrScalarMultivariableOptimizer& operator=(KrScalarMultivariableOptimizer const&) = default;

    /// Searches for a minimum of `f` from `start`. Writes the best point into `result`,
    /// which may be `start` itself, and returns the value of `f` there. The length of
    /// `start` may differ from `f.domainDim()`; each class describes the effect.
    virtual double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const = 0;

    /// Searches for a maximum: takes the steps of a search for a minimum of -f, and returns
    /// the value of f.
    virtual double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                               KrRealVector& result) const = 0;

    bool operator==(KrScalarMultivariableOptimizer const&) const = default;
};
