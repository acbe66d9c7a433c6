#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <vector>

/// A real-valued function of a real vector, as an optimizer sees it. Derive your own
/// functions from it.
///
/// `KrThreadWorkers` evaluates one object on several threads at once, or one object on each thread.
/// The docstring of a derived class states which of them it allows.
class KR_EXPORT KrScalarMultivariableFunction {
public:
    KrScalarMultivariableFunction() = default;
    KrScalarMultivariableFunction(KrScalarMultivariableFunction const&) = default;
    virtual ~KrScalarMultivariableFunction();

    /// Changes nothing: the interface has no data.
    KrScalarMultivariableFunction& operator=(KrScalarMultivariableFunction const&) = default;
    /// Always true. A derived class may compare its own data.
    bool operator==(KrScalarMultivariableFunction const&) const { return true; }

    /// The value at `x`, which has `domainDim()` components. Two optimizers may pass another
    /// length, if the start point has it. A `KrSequenceOptimizer` without optimizers or passes
    /// evaluates that point as it is. `KrHookeJeevesOptimizer` keeps the extra components of a
    /// longer one.
    virtual double evaluate(KrRealVector const& x) const = 0;

    /// Sets `values[i]` to the value at `points[i]`, for every i in ascending order. `values`
    /// gets the length of `points`. Optimizers call it whenever they need several new values
    /// at once. An override may evaluate the batch together or in parallel.
    virtual void evaluateMultiple(std::vector<KrRealVector> const& points,
                                  KrRealVector& values) const;

    /// The number of components of a point.
    virtual KrU32 domainDim() const = 0;
};
