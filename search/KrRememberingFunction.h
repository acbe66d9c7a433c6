#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <memory>

/// A function that is evaluated once at each point. Points are the same if their coordinates have
/// the same bits.
///
/// A batch is forwarded as one batch of the points that are new, each once. A point whose length is
/// not `domainDim` is forwarded and not remembered. Memory is in proportion to the number of
/// distinct points. One object is for one thread.
class KR_EXPORT KrRememberingFunction : public KrScalarMultivariableFunction {
public:
    /// `f` must outlive this object.
    explicit KrRememberingFunction(KrScalarMultivariableFunction const& f);
    ~KrRememberingFunction() override;
    KrRememberingFunction(KrRememberingFunction const&) = delete;
    KrRememberingFunction& operator=(KrRememberingFunction const&) = delete;

    double evaluate(KrRealVector const& x) const override;
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override;
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    struct Memory;

    KrScalarMultivariableFunction const& f_;
    std::unique_ptr<Memory> memory_;
};
