#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <type_traits>
#include <utility>

/// A function to minimise that calls a lambda, a function object or a `std::function`.
///
///     KrCallableFunction const bowl(2, [](KrRealVector const& x) {
///         return (x[0] - 1.0) * (x[0] - 1.0) + 4.0 * x[1] * x[1];
///     });
///
/// An evaluation costs as much as in a class that you derive yourself. To evaluate batches
/// of points at once, derive from `KrScalarMultivariableFunction` and override
/// `evaluateMultiple`.
///
/// Several threads may evaluate one object at once if its callable allows that.
template <class Callable>
    requires std::is_invocable_r_v<double, Callable const&, KrRealVector const&>
class KrCallableFunction : public KrScalarMultivariableFunction {
public:
    /// The function x -> `callable(x)` of points with `domainDim` components. It keeps a
    /// copy of the callable.
    KrCallableFunction(KrU32 domainDim, Callable callable)
        : callable_(std::move(callable)), domainDim_(domainDim) {}

    double evaluate(KrRealVector const& x) const override { return callable_(x); }
    KrU32 domainDim() const override { return domainDim_; }

private:
    Callable callable_;
    KrU32 domainDim_;
};
