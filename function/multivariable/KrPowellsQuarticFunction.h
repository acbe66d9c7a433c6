#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

/// Powell's singular quartic function, times a multiplier m:
///
///     f(x) = m ((x0 + 10 x1)² + 5 (x2 - x3)² + (x1 - 2 x2)⁴ + 10 (x0 - x3)⁴)
///
/// Its minimum, 0 for m > 0, is at the origin, where the Hessian is singular: a
/// hard end for a descent. The usual start is (3, -1, 0, 1), where f = 215 m.
/// Source: M. J. D. Powell, "An iterative method for finding stationary values
/// of a function of several variables", The Computer Journal 5 (1962).
class KR_EXPORT KrPowellsQuarticFunction : public KrScalarMultivariableFunction {
public:
    /// Reads the first four components of `x`; NaN when there are fewer.
    double evaluate(KrRealVector const& x) const override;

    /// 4.
    KrU32 domainDim() const override;

    /// The factor m; 1 by default.
    virtual double multiplier() const { return multiplier_; }
    virtual void setMultiplier(double multiplier) { multiplier_ = multiplier; }

    /// Functions compare as the base does, always equal: they are the same
    /// function whatever the scale of their values.
    bool operator==(KrPowellsQuarticFunction const& other) const {
        return KrScalarMultivariableFunction::operator==(other);
    }

private:
    double multiplier_ = 1.0;
};
