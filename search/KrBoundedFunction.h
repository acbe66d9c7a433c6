#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <memory>

class KrSearchSpace;

/// A function that is evaluated only inside a box. Inside it is f(x). Outside it is
/// f(p) + (|f(p)| + 1) d, where p is the nearest point of the box and d the sum over the
/// coordinates of |x - p| over the width of the box; over the coordinate's scale where a side is
/// open or the width is 0. In a search for a maximum the penalty is subtracted.
///
/// A coordinate that is NaN counts as infinitely far from the lower bound, or the upper one if
/// there is no lower one; without bounds it stays. A batch is forwarded as one batch. An object
/// works in buffers of its own: one object is for one thread.
class KR_EXPORT KrBoundedFunction : public KrScalarMultivariableFunction {
public:
    /// `f` must outlive this object. `lower` and `upper` have a bound for each coordinate, -INF and
    /// INF for none. `scales` are positive; missing ones are 1.
    KrBoundedFunction(KrScalarMultivariableFunction const& f, KrRealVector lower,
                      KrRealVector upper, KrRealVector scales = {}, bool maximise = false);
    ~KrBoundedFunction() override;

    double evaluate(KrRealVector const& x) const override;
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override;
    KrU32 domainDim() const override { return f_.domainDim(); }

    /// Sets `inside` to the nearest point of the box and returns d.
    double clip(KrRealVector const& x, KrRealVector& inside) const;

private:
    KrScalarMultivariableFunction const& f_;
    std::unique_ptr<KrSearchSpace const> space_;
    double sign_;  // of the penalty
    mutable KrRealVector point_;
    mutable std::vector<KrRealVector> points_;
    mutable KrRealVector distances_;
};
