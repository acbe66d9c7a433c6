#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

/// The function x -> f(s x), with a scale s for each coordinate. An optimizer that has one edge
/// length for all coordinates then takes steps that fit each of them.
///
/// A batch is forwarded as one batch. An object works in buffers of its own: one object is for one
/// thread.
class KR_EXPORT KrScaledFunction : public KrScalarMultivariableFunction {
public:
    /// `f` must outlive this object. Coordinates without a scale have the scale 1.
    KrScaledFunction(KrScalarMultivariableFunction const& f, KrRealVector scales)
        : f_(f), scales_(std::move(scales)) {}
    ~KrScaledFunction() override;

    double evaluate(KrRealVector const& x) const override;
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override;
    KrU32 domainDim() const override { return f_.domainDim(); }

    /// Sets `physical` to s x.
    void scale(KrRealVector const& x, KrRealVector& physical) const;

private:
    KrScalarMultivariableFunction const& f_;
    KrRealVector scales_;
    mutable KrRealVector point_;
    mutable std::vector<KrRealVector> points_;
};
