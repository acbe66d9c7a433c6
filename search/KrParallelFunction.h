#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <memory>
#include <vector>

/// A function whose batches are evaluated on threads, for a program that calls an optimizer itself.
///
///     KrParallelFunction const parallel(f, 8);
///     double const lowest = optimizer.findMinimum(parallel, start, best);
///
/// The optimizer returns the same bits as with f. It gains where it asks for batches: a
/// multidirectional search, implicit filtering, and the first simplex of a Nelder-Mead search. For
/// a `KrSearch` use `KrThreadWorkers`: after a failure in a batch of this function, the search
/// evaluates the points of that batch again, one by one.
///
/// Random numbers, short functions and threads that cannot be started are treated as by
/// `KrThreadWorkers`.
///
/// One thread at a time uses an object. If a function under evaluation, or another thread, calls an
/// object that is evaluating, the call throws `std::logic_error`.
class KR_EXPORT KrParallelFunction : public KrScalarMultivariableFunction {
public:
    /// The function `f` on up to `count` threads; 0 is one thread for each core. `f` must outlive
    /// this object, and several threads call it at once.
    explicit KrParallelFunction(KrScalarMultivariableFunction const& f, KrU32 count = 0);
    /// A thread for each function; all of them have the same values. The calling thread also calls
    /// the first one, never at the same time as its thread. The functions must outlive this object.
    /// Throws `std::invalid_argument` if there is none, or a null.
    explicit KrParallelFunction(std::vector<KrScalarMultivariableFunction const*> functions);
    ~KrParallelFunction() override;
    KrParallelFunction(KrParallelFunction const&) = delete;
    KrParallelFunction& operator=(KrParallelFunction const&) = delete;

    /// Calls the function on the calling thread.
    double evaluate(KrRealVector const& x) const override;
    /// Evaluates the points on the threads, and waits for all that have begun. If some throw, the
    /// exception of the lowest index is rethrown, points that have not begun are left out, and
    /// `values` is unchanged. A `KrEvaluationFailure` is thrown as a new one with the same text.
    /// The calling thread evaluates a batch of one point, and a batch with a point whose length is
    /// not `domainDim()`.
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override;
    KrU32 domainDim() const override;

private:
    struct State;
    std::unique_ptr<State> state_;
};
