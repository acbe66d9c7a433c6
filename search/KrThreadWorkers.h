#pragma once

#include "search/KrEvaluationWorkers.h"

#include <memory>
#include <vector>

/// Evaluates points on threads, one function for all of them or one function each.
///
///     KrThreadWorkers workers(f, 8);
///     KrSearchReport const report = search.run(workers);
///
/// The result has the same bits for any number of threads, if the function is deterministic. A
/// thread has no `KrRandomScope`: a function that calls `KrRandom` there draws from the stream that
/// the whole process shares, and its values depend on the other threads. Draw from a
/// `KrRandomStream` that the function makes from the point instead.
///
/// An evaluation cannot be ended. `cancel` drops what has not begun, the rest finishes, and the
/// search waits for it.
///
/// If all but one of the last eight evaluations took less than 200 µs, a function for all threads
/// is evaluated on the thread that calls `finish`. Handing an evaluation to a thread costs about
/// 13 µs, more on a busy machine. With evaluations of 20 µs, a Nelder-Mead search took 1.04 of its
/// time on one thread, and 1.7 with a function for each thread. Such a `finish` looks at `until`
/// and the stop before its evaluation, and returns after it.
///
/// One thread at a time uses an object. If a function under evaluation, or another thread, starts
/// requests before all earlier ones are back, those end as `Broken`; its `cancel` does nothing. A
/// function may run a search on workers of its own.
///
/// Threads start when there is work for them, wait without using a core, and end in the destructor.
/// If one cannot be started, the search goes on with those there are, or on the calling thread, and
/// a warning is printed. A point whose length is not `domainDim` of the function is `Broken`.
class KR_EXPORT KrThreadWorkers : public KrEvaluationWorkers {
public:
    /// Evaluates `f` on up to `count` threads; 0 is one thread for each core. `f` must outlive this
    /// object, and several threads call it at once. If it waits, for example for another process,
    /// use more threads than there are cores.
    explicit KrThreadWorkers(KrScalarMultivariableFunction const& f, KrU32 count = 0);
    /// Evaluates with a thread for each function, which no other thread calls. If no thread can be
    /// started, the calling thread calls the first one. The functions must outlive this object.
    /// Throws `std::invalid_argument` if there is none, or a null.
    explicit KrThreadWorkers(std::vector<KrScalarMultivariableFunction const*> functions);
    /// Drops what has not begun, and waits for the rest.
    ~KrThreadWorkers() override;

    KrU32 count() const override;
    void start(std::span<KrEvaluationRequest const> requests) override;
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override;
    void cancel() override;

private:
    struct State;
    std::unique_ptr<State> state_;
};
