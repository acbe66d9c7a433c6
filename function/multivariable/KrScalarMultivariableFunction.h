#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <vector>

/// A real-valued function of a real vector: all that an optimizer knows of what
/// it minimises. A client derives its own functions from it.
class KR_EXPORT KrScalarMultivariableFunction {
public:
    KrScalarMultivariableFunction() = default;
    KrScalarMultivariableFunction(KrScalarMultivariableFunction const&) = default;
    virtual ~KrScalarMultivariableFunction();

    /// The interface has no data: an assignment changes nothing.
    KrScalarMultivariableFunction& operator=(KrScalarMultivariableFunction const&) = default;
    /// All functions are equal here; a derived class may compare its own data.
    bool operator==(KrScalarMultivariableFunction const&) const { return true; }

    /// The value at `x`, which has `domainDim()` components. There are two exceptions,
    /// both for a start point of another length: a `KrSequenceOptimizer` without
    /// optimizers or passes evaluates it as it is, and `KrHookeJeevesOptimizer` hands on
    /// the extra components of a longer one.
    virtual double evaluate(KrRealVector const& x) const = 0;

    /// Sets `values[i]` to the value at `points[i]`, for every i in ascending
    /// order; `values` gets the length of `points`. Optimizers call it whenever
    /// they need several new values at once, so that an override may evaluate a
    /// batch together or in parallel.
    virtual void evaluateMultiple(std::vector<KrRealVector> const& points,
                                  KrRealVector& values) const;

    /// The number of components that a point has.
    virtual KrU32 domainDim() const = 0;
};
