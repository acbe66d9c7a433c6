#include "search/KrParallelFunction.h"

#include "search/KrThreadWorkers.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <utility>

KR_SOURCE_VERSION;

struct KrParallelFunction::State {
    // Refuses a second caller during a call.
    class Call {
    public:
        explicit Call(State& state) : isInUse_(state.isInUse) {
            if (isInUse_.test_and_set(std::memory_order_acquire)) {
                throw std::logic_error(
                    "KrParallelFunction: expected an object that is not in use, found one that "
                    "evaluates for another caller");
            }
        }
        ~Call() { isInUse_.clear(std::memory_order_release); }
        Call(Call const&) = delete;
        Call& operator=(Call const&) = delete;

    private:
        std::atomic_flag& isInUse_;
    };

    State(KrScalarMultivariableFunction const& function, KrU32 count)
        : f(&function), workers(function, count) {}
    explicit State(std::vector<KrScalarMultivariableFunction const*> functions)
        : f(functions.empty() ? nullptr : functions.front()), workers(std::move(functions)) {}

    KrScalarMultivariableFunction const* f;
    KrThreadWorkers workers;
    std::atomic_flag isInUse;
};

KrParallelFunction::KrParallelFunction(KrScalarMultivariableFunction const& f, KrU32 count)
    : state_(std::make_unique<State>(f, count)) {}

KrParallelFunction::KrParallelFunction(std::vector<KrScalarMultivariableFunction const*> functions)
    : state_(std::make_unique<State>(std::move(functions))) {}

KrParallelFunction::~KrParallelFunction() = default;

KrU32 KrParallelFunction::domainDim() const { return state_->f->domainDim(); }

double KrParallelFunction::evaluate(KrRealVector const& x) const {
    State::Call const call(*state_);
    return state_->f->evaluate(x);
}

void KrParallelFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                          KrRealVector& values) const {
    auto const isOther = [n = domainDim()](KrRealVector const& x) { return x.size() != n; };
    if (points.size() < 2 || std::ranges::any_of(points, isOther)) {
        KrRealVector found;
        KrScalarMultivariableFunction::evaluateMultiple(points, found);
        values = std::move(found);
        return;
    }
    State::Call const call(*state_);
    std::vector<KrEvaluationRequest> requests;
    requests.reserve(points.size());
    for (KrRealVector const& point : points) {
        requests.push_back({requests.size(), point});
    }
    std::vector<KrEvaluation> all(points.size());
    std::vector<KrEvaluation> ended;
    auto const collect = [&] {
        while (state_->workers.finish(ended, KrEvaluationWorkers::Time::max(), {})) {
            for (KrEvaluation& evaluation : ended) {
                if (evaluation.outcome != KrEvaluation::Outcome::Value) {
                    state_->workers.cancel();  // those before it have begun
                }
                all[evaluation.ticket] = std::move(evaluation);
            }
            ended.clear();
        }
    };
    try {
        state_->workers.start(requests);
        collect();
    } catch (...) {  // of the client's sink for messages; nothing stays for the next call
        state_->workers.cancel();
        collect();
        throw;
    }
    for (KrEvaluation const& evaluation : all) {
        if (evaluation.exception) {
            std::rethrow_exception(evaluation.exception);
        }
        if (evaluation.outcome == KrEvaluation::Outcome::Failure) {
            throw KrEvaluationFailure(evaluation.text);
        }
    }
    values.resize(points.size());
    std::ranges::transform(all, values.begin(), &KrEvaluation::value);
}
