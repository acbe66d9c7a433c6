#pragma once

#include "search/KrEvaluationWorkers.h"

#include <deque>

/// Evaluates a function on the thread that runs the search, one point after another. A batch goes
/// to `evaluateMultiple` as a whole if the function overrides it; a stop is seen after it.
/// Otherwise its points are evaluated one by one, and a stop is seen between any two. One thread
/// owns an object and makes all calls.
class KR_EXPORT KrCallingThread : public KrEvaluationWorkers {
public:
    /// Evaluates `f`, which must outlive this object.
    explicit KrCallingThread(KrScalarMultivariableFunction const& f) : f_(f) {}

    KrU32 count() const override { return 1; }
    void start(std::span<KrEvaluationRequest const> requests) override;
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override;
    void cancel() override { cancelled_ = true; }
    KrScalarMultivariableFunction const* directFunction() const override { return &f_; }

    /// Calls `f` at `x`. Exceptions of the function become the outcome.
    static KrEvaluation evaluate(KrScalarMultivariableFunction const& f, KrRealVector const& x);

private:
    KrScalarMultivariableFunction const& f_;
    std::deque<KrEvaluationRequest> waiting_;
    bool cancelled_ = false;
};
