#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "search/KrEvaluation.h"

#include <atomic>
#include <chrono>
#include <span>
#include <stop_token>
#include <vector>

/// Evaluates points for a search: on the calling thread, on several threads, by commands, or in a
/// class of your own. One thread owns an object and makes all calls, and one search at a time uses
/// it: another, such as that of an observer, is refused.
class KR_EXPORT KrEvaluationWorkers {
public:
    /// A moment of the steady clock, which changes of the system time do not affect.
    using Time = std::chrono::steady_clock::time_point;

    KrEvaluationWorkers() = default;
    KrEvaluationWorkers(KrEvaluationWorkers const&) = delete;
    KrEvaluationWorkers& operator=(KrEvaluationWorkers const&) = delete;
    virtual ~KrEvaluationWorkers();

    /// How many evaluations can be under way at once, at least 1. If there are more than 1, a
    /// search also starts evaluations that it will probably ask for. Its answer does not depend on
    /// them.
    virtual KrU32 count() const = 0;

    /// Takes requests; `finish` gives each of them back once. More than `count` wait for their
    /// turn, in order.
    virtual void start(std::span<KrEvaluationRequest const> requests) = 0;

    /// Waits until at least one evaluation has ended, and appends to `all` every one that has ended
    /// since the last call. False if nothing is under way, or if `until` passes or `stop` is
    /// requested before one ends. If `until` has passed already, it does not wait, and appends what
    /// has ended.
    virtual bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) = 0;

    /// Ends what is under way as soon as possible. Each ticket still comes back, as cancelled or
    /// finished.
    virtual void cancel() = 0;

    /// The function that the search may call itself on its own thread, instead of `start` and
    /// `finish`; null if there is none. Default: null.
    virtual KrScalarMultivariableFunction const* directFunction() const { return nullptr; }

private:
    friend class KrSearchRun;
    std::atomic<int> isSearching_ = 0;  // some processors lack a byte's exchange
};
