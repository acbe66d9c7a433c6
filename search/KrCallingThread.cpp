#include "search/KrCallingThread.h"

KR_SOURCE_VERSION;

KrEvaluation KrCallingThread::evaluate(KrScalarMultivariableFunction const& f,
                                       KrRealVector const& x) {
    KrEvaluation evaluation;
    auto const start = std::chrono::steady_clock::now();
    try {
        evaluation.value = f.evaluate(x);
    } catch (KrEvaluationFailure const& failure) {
        evaluation.outcome = KrEvaluation::Outcome::Failure;
        evaluation.text = failure.what();
    } catch (...) {
        evaluation.outcome = KrEvaluation::Outcome::Exception;
        evaluation.exception = std::current_exception();
    }
    evaluation.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return evaluation;
}

void KrCallingThread::start(std::span<KrEvaluationRequest const> requests) {
    waiting_.insert(waiting_.end(), requests.begin(), requests.end());
    cancelled_ = false;
}

bool KrCallingThread::finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) {
    if (waiting_.empty()) {
        return false;
    }
    if (!cancelled_ && (stop.stop_requested() || std::chrono::steady_clock::now() >= until)) {
        return false;
    }
    KrEvaluationRequest const request = std::move(waiting_.front());
    waiting_.pop_front();
    KrEvaluation evaluation;
    if (cancelled_) {
        evaluation.outcome = KrEvaluation::Outcome::Cancelled;
    } else {
        evaluation = evaluate(f_, request.point);
    }
    evaluation.ticket = request.ticket;
    all.push_back(std::move(evaluation));
    return true;
}
