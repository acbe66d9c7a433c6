#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

/// Powell's singular quartic function, times a multiplier m:
///
///     f(x) = m ((x0 + 10 x1)² + 5 (x2 - x3)² + (x1 - 2 x2)⁴ + 10 (x0 - x3)⁴)
///
/// If m > 0, its minimum is 0 at the origin. The Hessian is singular there, which slows the
/// end of a descent. The usual start is (3, -1, 0, 1), where f = 215 m.
/// Source: M. J. D. Powell, "An iterative method for finding stationary values
/// of a function of several variables", The Computer Journal 5 (1962).
///
/// Several threads may evaluate one object at once, while none changes it.
class KR_EXPORT KrPowellsQuarticFunction : public KrScalarMultivariableFunction {
public:
    /// f(x) of the first four components of `x`. If there are fewer, the value is NaN.
    double evaluate(KrRealVector const& x) const override;

    /// The number of components, 4.
    KrU32 domainDim() const override;

    /// The factor m of f(x). It has the unit of f and is 1 by default. Range: -inf < m < inf,
    /// unchecked. If m < 0, the origin is the maximum. If m is NaN, so is every value. Change
    /// it to test an optimizer on another scale of values.
    virtual double multiplier() const { return multiplier_; }
    virtual void setMultiplier(double multiplier) { multiplier_ = multiplier; }

    /// Always true, as in the base. The multiplier does not count.
    bool operator==(KrPowellsQuarticFunction const& other) const {
        return KrScalarMultivariableFunction::operator==(other);
    }

private:
    double multiplier_ = 1.0;
};
