#include "search/KrThreadWorkers.h"

#include "foundation/core/KrPrint.h"
#include "search/KrCallingThread.h"
#include "search/internal/KrShortEvaluation.h"

#include <algorithm>
#include <bit>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

KR_SOURCE_VERSION;

struct KrThreadWorkers::State {
    using Lock = std::unique_lock<std::mutex>;

    void work(KrU32 number);
    void evaluateNext(Lock& lock, KrU32 number);
    void launch(Lock& lock);
    bool isShort() const;
    bool isInUse() const;
    void refuse(std::span<KrEvaluationRequest const> requests);
    bool takeRefused(std::vector<KrEvaluation>& all);

    // Set before the first thread starts.
    std::vector<KrScalarMultivariableFunction const*> functions;
    bool isShared = false;  // one function for all threads
    KrU32 count = 0;

    // The mutex guards the rest, but `threads` is the owner's.
    std::mutex mutex;
    std::condition_variable hasWork;
    std::condition_variable_any hasEnded;
    std::vector<std::thread> threads;
    bool isFull = false;  // no other thread can be started
    bool isClosing = false;
    std::deque<KrEvaluationRequest> waiting;
    std::vector<KrEvaluation> ended;
    std::size_t outstanding = 0;  // requests that are not back
    std::uint8_t longs = 0xff;    // a bit for each of the last evaluations
    std::thread::id owner;        // who has started those that are outstanding
    bool isOwnerEvaluating = false;
    std::vector<std::pair<std::thread::id, KrEvaluation>> refused;
};

// --- The threads.

void KrThreadWorkers::State::work(KrU32 number) {
    Lock lock(mutex);
    while (true) {
        hasWork.wait(lock, [this] { return isClosing || (!waiting.empty() && !isShort()); });
        if (isClosing) {
            return;
        }
        evaluateNext(lock, number);
        hasEnded.notify_one();
    }
}

// Unlocks during the evaluation.
void KrThreadWorkers::State::evaluateNext(Lock& lock, KrU32 number) {
    KrEvaluationRequest const request = std::move(waiting.front());
    waiting.pop_front();
    lock.unlock();
    KrEvaluation evaluation =
        KrCallingThread::evaluate(*functions[isShared ? 0 : number], request.point);
    evaluation.ticket = request.ticket;
    evaluation.worker = number;
    lock.lock();
    longs =
        static_cast<std::uint8_t>(longs << 1 | (evaluation.seconds < krShortEvaluation ? 0 : 1));
    ended.push_back(std::move(evaluation));  // into memory that `start` has reserved
}

// Starts or wakes threads for what is waiting. Unlocks while it prints.
void KrThreadWorkers::State::launch(Lock& lock) {
    std::size_t const wanted = std::min<std::size_t>(count, outstanding - ended.size());
    while (!isFull && threads.size() < wanted) {
        try {
            threads.emplace_back(&State::work, this, static_cast<KrU32>(threads.size()));
        } catch (std::system_error const& error) {
            isFull = true;
            lock.unlock();
            Kr::Print::instance().write(Kr::PrintType::Warning,
                                        "search: expected %u threads, found %u: %s\n", count,
                                        threads.size(), error.code().message());
            lock.lock();
        }
    }
    for (std::size_t i = 0; i < std::min(waiting.size(), threads.size()); ++i) {
        hasWork.notify_one();
    }
}

// The system may interrupt a short evaluation, so one long one among them does not count.
bool KrThreadWorkers::State::isShort() const { return isShared && std::popcount(longs) <= 1; }

// --- One user at a time.

// Whether another user has requests under way.
bool KrThreadWorkers::State::isInUse() const {
    return outstanding != 0 && (isOwnerEvaluating || owner != std::this_thread::get_id());
}

void KrThreadWorkers::State::refuse(std::span<KrEvaluationRequest const> requests) {
    for (KrEvaluationRequest const& request : requests) {
        auto& [caller, evaluation] = refused.emplace_back();
        caller = std::this_thread::get_id();
        evaluation.ticket = request.ticket;
        evaluation.outcome = KrEvaluation::Outcome::Broken;
        evaluation.text =
            "workers: expected an object that is not in use, found one that evaluates for "
            "another search";
    }
}

bool KrThreadWorkers::State::takeRefused(std::vector<KrEvaluation>& all) {
    auto const isMine = [](auto const& entry) { return entry.first == std::this_thread::get_id(); };
    for (auto& entry : refused) {
        if (isMine(entry)) {
            all.push_back(std::move(entry.second));
        }
    }
    return std::erase_if(refused, isMine) != 0;
}

// --- The workers.

KrThreadWorkers::KrThreadWorkers(KrScalarMultivariableFunction const& f, KrU32 count)
    : state_(std::make_unique<State>()) {
    state_->functions.assign(1, &f);
    state_->isShared = true;
    state_->count = count != 0 ? count : std::max(std::thread::hardware_concurrency(), 1U);
}

KrThreadWorkers::KrThreadWorkers(std::vector<KrScalarMultivariableFunction const*> functions)
    : state_(std::make_unique<State>()) {
    if (functions.empty() || std::ranges::count(functions, nullptr) != 0) {
        throw std::invalid_argument("KrThreadWorkers: expected a function for each worker");
    }
    state_->count = static_cast<KrU32>(functions.size());
    state_->functions = std::move(functions);
}

KrThreadWorkers::~KrThreadWorkers() {
    {
        std::lock_guard const lock(state_->mutex);
        state_->isClosing = true;
    }
    state_->hasWork.notify_all();
    for (std::thread& thread : state_->threads) {
        thread.join();
    }
}

KrU32 KrThreadWorkers::count() const { return state_->count; }

void KrThreadWorkers::start(std::span<KrEvaluationRequest const> requests) {
    State& state = *state_;
    State::Lock lock(state.mutex);
    if (state.isInUse()) {
        state.refuse(requests);
        return;
    }
    state.owner = std::this_thread::get_id();
    state.ended.reserve(state.outstanding + requests.size());
    KrU32 const dimension = state.functions.front()->domainDim();
    for (KrEvaluationRequest const& request : requests) {
        if (request.point.size() == dimension) {
            state.waiting.push_back(request);
        } else {
            KrEvaluation& evaluation = state.ended.emplace_back();
            evaluation.ticket = request.ticket;
            evaluation.outcome = KrEvaluation::Outcome::Broken;
            evaluation.text = "workers: expected " + std::to_string(dimension) +
                              " coordinates, as many as the function has, found " +
                              std::to_string(request.point.size());
        }
        ++state.outstanding;
    }
    if (!state.isShort()) {
        state.launch(lock);
    }
}

bool KrThreadWorkers::finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) {
    State& state = *state_;
    State::Lock lock(state.mutex);
    if (state.takeRefused(all)) {
        return true;
    }
    if (state.isInUse() || state.outstanding == 0) {
        return false;
    }
    auto const isAny = [&state] { return !state.ended.empty(); };
    while (!isAny()) {
        if (stop.stop_requested() || std::chrono::steady_clock::now() >= until) {
            return false;
        }
        if (!state.isShort()) {
            state.launch(lock);
        }
        if (!state.waiting.empty() && (state.isShort() || state.threads.empty())) {
            state.isOwnerEvaluating = true;
            state.evaluateNext(lock, 0);
            state.isOwnerEvaluating = false;
        } else if (until == Time::max()) {
            state.hasEnded.wait(lock, stop, isAny);
        } else {
            state.hasEnded.wait_until(lock, stop, until, isAny);
        }
    }
    state.outstanding -= state.ended.size();
    all.insert(all.end(), std::move_iterator(state.ended.begin()),
               std::move_iterator(state.ended.end()));
    state.ended.clear();
    return true;
}

void KrThreadWorkers::cancel() {
    State& state = *state_;
    std::lock_guard const lock(state.mutex);
    if (state.isInUse()) {
        return;
    }
    for (KrEvaluationRequest const& request : state.waiting) {
        KrEvaluation& evaluation = state.ended.emplace_back();
        evaluation.ticket = request.ticket;
        evaluation.outcome = KrEvaluation::Outcome::Cancelled;
    }
    state.waiting.clear();
}
