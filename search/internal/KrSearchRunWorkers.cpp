#include "search/internal/KrSearchRunWorkers.h"

#include "foundation/math/KrRandomScope.h"
#include "search/internal/KrSame.h"
#include "search/internal/KrShortEvaluation.h"

#include <algorithm>
#include <bit>
#include <cmath>

KR_SOURCE_VERSION;

namespace {

constexpr std::size_t durationsKept = 15;

// The seconds for a speculation before the first evaluation has ended. The end of one interrupts
// it.
constexpr double firstPatience = 1.0;

// How many evaluations a clone may run ahead, for each worker. Over points with known values it
// could otherwise run forever.
constexpr std::size_t questionsPerWorker = 64;

// A try that takes all its time costs 0.3 % of an evaluation with this pause.
constexpr unsigned mostPauses = 5;
constexpr unsigned longestPause = (1U << mostPauses) - 1;

std::chrono::steady_clock::time_point after(double seconds) {
    using Clock = std::chrono::steady_clock;
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

KrRealVector scalesOf(KrSearch const& search) {
    KrRealVector scales;
    for (KrSearchVariable const* const variable : search.variables().vectorContainer()) {
        scales.push_back(variable->scale());
    }
    return scales;
}

}  // namespace

// The function of a clone of the optimizer. It returns the values that the search got, then known
// values and predictions. The points of the predictions are its path.
class KrSearchRun::Workers::Ahead : public KrScalarMultivariableFunction {
public:
    Ahead(Workers& workers, std::size_t opinion, std::size_t count, Time deadline)
        : workers_(workers),
          run_(workers.run_),
          opinion_(opinion),
          count_(count),
          deadline_(deadline) {}

    double evaluate(KrRealVector const& x) const override {
        if (isOver_) {
            throw Stop();
        }
        if (done_ < workers_.given_.size()) {
            // A step of a client's optimizer may take long.
            if (done_ % 64 == 0 || std::has_single_bit(done_)) {
                CallersStream const stream(run_);
                mayGoOn();
            }
            return workers_.given_[done_++];
        }
        if (x.size() != run_.dimension_) {
            end();  // workers expect points of the search
        }
        CallersStream const stream(run_);
        mayGoOn();
        double distance = 0.0;
        if (run_.space_) {
            distance = run_.space_->enter(x, point_);
        } else {
            point_ = x;
        }
        return krPenalised(valueAt(point_), distance, run_.sign_);
    }
    KrU32 domainDim() const override { return run_.dimension_; }

    // The points without a value, in the order of the search, until the time was over.
    std::vector<KrRealVector>& path() { return path_; }
    // Whether the time was over, or a worker was back, before the path was complete.
    bool isInterrupted() const { return isInterrupted_; }

private:
    double valueAt(KrRealVector const& x) const {
        std::size_t const asked = done_ + questions_++;
        if (questions_ > questionsPerWorker * workers_.count_ ||
            (run_.maxEvaluations_ != 0 && asked >= run_.maxEvaluations_)) {
            end();
        }
        Known const* known = run_.remembered(x, KrPointTable<Known>::hashOf(x));
        known = known ? known : workers_.landed(x);
        if (known) {
            return run_.penalised(known->failed ? run_.standIn() : known->value, run_.violation(x));
        }
        auto const isX = [&](KrRealVector const& other) { return krSamePoint(x, other); };
        if (!workers_.isWaitingFor(x) && std::ranges::none_of(path_, isX)) {
            path_.push_back(x);
            free_ += workers_.isFree(x) ? 1 : 0;
            if (free_ >= count_) {
                end();
            }
        }
        double const value = workers_.predictor_.at(x, opinion_);
        return run_.penalised(std::isnan(value) ? run_.standIn() : value, run_.violation(x));
    }

    // Ends if no time is left, or if a worker is back: its value counts more than predictions.
    void mayGoOn() const {
        bool isBack = false;
        try {
            isBack = !path_.empty() &&
                     run_.workers_.finish(workers_.ended_, Time::min(), run_.context_.stop);
        } catch (...) {
            workers_.thrown_ = std::current_exception();
            isBack = true;
        }
        if (isBack || std::chrono::steady_clock::now() >= deadline_) {
            isInterrupted_ = true;
            end();
        }
    }

    [[noreturn]] void end() const {
        isOver_ = true;
        throw Stop();
    }

    Workers& workers_;
    KrSearchRun& run_;
    std::size_t const opinion_;
    std::size_t const count_;
    Time const deadline_;
    mutable std::size_t done_ = 0;  // of the values that the search got
    mutable std::size_t questions_ = 0;
    mutable std::size_t free_ = 0;  // points of the path that can be evaluated
    mutable bool isOver_ = false;
    mutable bool isInterrupted_ = false;
    mutable KrRealVector point_;
    mutable std::vector<KrRealVector> path_;
};

KrSearchRun::Workers::Workers(KrSearchRun& run)
    : run_(run),
      count_(run.workers_.count()),
      kept_(run.dimension_),
      predictor_(scalesOf(run.search_)),
      vote_(predictor_.opinions()) {}

std::vector<KrSearchRun::Made> KrSearchRun::Workers::evaluate(
    std::vector<KrRealVector> const& points) {
    all_.assign(points.size(), {});
    broken_.clear();
    struct Release {  // also if an exception passes
        ~Release() {
            workers.points_ = nullptr;
            for (auto& [ticket, flight] : workers.flights_) {
                flight.wanted = nullptr;
            }
        }
        Workers& workers;
    } const release{*this};
    points_ = &points;
    std::vector<KrEvaluationRequest> requests;
    newest_ = run_.nextTicket_;
    for (std::size_t i = 0; i < points.size(); ++i) {
        auto const flight = std::ranges::find_if(flights_, [&](auto const& entry) {
            return !entry.second.wanted && krSamePoint(entry.second.point, points[i]);
        });
        if (Made const* const made = kept_.find(points[i])) {
            all_[i] = *made;
        } else if (flight != flights_.end()) {
            flight->second.wanted = &all_[i];
        } else {
            flights_[run_.nextTicket_] = {points[i], &all_[i], std::chrono::steady_clock::now()};
            requests.push_back({run_.nextTicket_++, points[i]});
        }
    }
    run_.workers_.start(requests);
    while (isWaiting()) {
        if (run_.record_ && !run_.record_->flush()) {
            run_.stop(KrSearchReason::Cancelled);
        }
        speculate();
        if (isWaiting() && !collect(run_.deadline_, run_.context_.stop)) {
            break;
        }
    }
    if (isWaiting()) {
        drain();
    }
    // Evaluations that were cancelled because another one broke get its reason.
    for (Made& made : all_) {
        if (!made.known && !made.exception && made.broken.empty()) {
            made.broken = broken_;
        }
    }
    return std::exchange(all_, {});
}

bool KrSearchRun::Workers::isWaiting() const {
    return std::ranges::any_of(flights_, [](auto const& entry) { return entry.second.wanted; });
}

bool KrSearchRun::Workers::isWaitingFor(KrRealVector const& x) const {
    return std::ranges::any_of(flights_, [&](auto const& entry) {
        return entry.second.wanted && krSamePoint(entry.second.point, x);
    });
}

// What is known of a point of the batch that the search waits for.
auto KrSearchRun::Workers::landed(KrRealVector const& x) const -> Known const* {
    for (std::size_t i = 0; points_ && i < points_->size(); ++i) {
        if (all_[i].known && krSamePoint((*points_)[i], x)) {
            return &*all_[i].known;
        }
    }
    return nullptr;
}

bool KrSearchRun::Workers::isFree(KrRealVector const& x) {
    return !kept_.find(x) && std::ranges::none_of(flights_, [&](auto const& entry) {
        return krSamePoint(entry.second.point, x);
    });
}

// Waits for an evaluation and takes all that have ended: with one result more the search may ask
// for a point that no prediction found.
bool KrSearchRun::Workers::collect(Time until, std::stop_token const& stop) {
    KrEvaluationWorkers& workers = run_.workers_;
    if (ended_.empty() && !workers.finish(ended_, until, stop)) {
        return false;
    }
    while (workers.finish(ended_, Time::min(), stop)) {
    }
    for (KrEvaluation const& evaluation : std::exchange(ended_, {})) {
        if (auto flight = flights_.extract(evaluation.ticket)) {  // none of a run that was stopped
            land(flight.mapped(), evaluation);
        }
    }
    return true;
}

void KrSearchRun::Workers::land(Flight const& flight, KrEvaluation const& evaluation) {
    Made made;
    switch (evaluation.outcome) {
        case KrEvaluation::Outcome::Cancelled: return;
        case KrEvaluation::Outcome::Broken:
            if (!flight.wanted) {  // if the search asks for this point, it is tried again
                left_ = longestPause;
                return;
            }
            made.broken = broken_ = evaluation.text;
            run_.workers_.cancel();  // the others would break too
            break;
        case KrEvaluation::Outcome::Exception: made.exception = evaluation.exception; break;
        case KrEvaluation::Outcome::Value:
        case KrEvaluation::Outcome::Failure:
            made.known = run_.accepted(flight.point, evaluation, false);
            learn(flight.point, *made.known);
            break;
    }
    bool const isMade = evaluation.outcome != KrEvaluation::Outcome::Broken;
    if (isMade) {
        ++run_.made_;
        run_.speculated_ += flight.wanted ? 0 : 1;
        time(evaluation.seconds > 0.0 ? evaluation.seconds : run_.secondsSince(flight.begin));
    }
    if (flight.wanted) {
        *flight.wanted = made;
    } else if (made.known) {
        keep(flight.point, *made.known);
    } else {
        kept_.insert(flight.point, made);
    }
}

// Notes what an evaluation took.
void KrSearchRun::Workers::time(double seconds) {
    if (durations_.size() < durationsKept) {
        durations_.push_back(seconds);
    } else {
        durations_[nextDuration_++ % durationsKept] = seconds;
    }
}

// Until the search asks for it.
void KrSearchRun::Workers::keep(KrRealVector const& x, Known const& known) {
    if (!run_.memory_) {
        run_.memory_.emplace(run_.dimension_);
    }
    if (Known* const old = run_.memory_->find(x)) {
        bool const isTaken = old->isTaken && run_.remember_;
        *old = known;
        old->isTaken = isTaken;
    } else {
        run_.memory_->insert(x, known);
    }
}

void KrSearchRun::Workers::learn(KrRealVector const& x, Known const& known) {
    if (count_ > 1 && !known.failed) {
        predictor_.add(x, known.value);
    }
}

void KrSearchRun::Workers::drain() {
    run_.workers_.cancel();
    std::exception_ptr thrown;
    // An exception of the workers does not leave the others under way.
    for (std::size_t failures = 0; !flights_.empty() && failures <= count_;) {
        try {
            if (!collect(Time::max(), {})) {
                break;
            }
        } catch (...) {
            thrown = thrown ? thrown : std::current_exception();
            ++failures;
        }
    }
    flights_.clear();
    if (thrown) {
        std::rethrow_exception(thrown);
    }
}

// The seconds that a speculation may take: a tenth of the median evaluation.
double KrSearchRun::Workers::patience() const {
    if (durations_.empty()) {
        return firstPatience;
    }
    std::vector<double> sorted = durations_;
    auto const middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    return *middle < krShortEvaluation ? 0.0 : *middle / 10.0;
}

// Gives idle workers the points that the search will probably ask for. If there was no time for any
// point, the next 1, 3, 7 and so on calls do nothing. If it took too long, the pause is longer.
void KrSearchRun::Workers::speculate() {
    double const seconds = patience();
    if (count_ <= flights_.size() || seconds == 0.0 || !broken_.empty()) {
        return;
    }
    if (left_ > 0) {
        --left_;
        return;
    }
    // Evaluations of equal length end shortly one after the other. So those before the last
    // question get a hundredth of an evaluation to end. Searches with evaluations of 20 ms gained 3
    // % on kinked functions by this.
    while (isWaiting() && flights_.begin()->first < newest_ &&
           collect(after(seconds / 10.0), run_.context_.stop)) {
    }
    if (!isWaiting() || run_.context_.stop.stop_requested()) {
        return;
    }
    std::size_t const idle = count_ - flights_.size();
    Time const begin = std::chrono::steady_clock::now();
    Time const deadline = after(seconds);
    std::vector<std::vector<KrRealVector>> paths(predictor_.opinions());
    bool isInterrupted = false;
    for (std::size_t opinion = 0; opinion < paths.size() && !isInterrupted; ++opinion) {
        Ahead ahead(*this, opinion, idle, deadline);
        try {
            KrScalarMultivariableOptimizerContainer const optimizer(run_.search_.optimizer());
            KrRandomStream stream(run_.search_.seed());
            KrRandomScope const scope(stream);
            KrRealVector answer;
            run_.maximise_ ? optimizer.findMaximum(ahead, run_.start_, answer)
                           : optimizer.findMinimum(ahead, run_.start_, answer);
        } catch (...) {  // also of an optimizer that fails on predicted values
        }
        isInterrupted = ahead.isInterrupted();
        paths[opinion] = std::move(ahead.path());
    }
    if (thrown_) {  // by the workers
        std::rethrow_exception(std::exchange(thrown_, nullptr));
    }
    if (run_.context_.stop.stop_requested()) {
        return;  // some workers cannot end what has begun
    }
    bool const isLate = isInterrupted && paths[0].empty();
    pauses_ = isLate ? std::min(pauses_ + 1, mostPauses) : 0;
    double const excess = std::min(run_.secondsSince(begin) / seconds - 1.0, 1e9);
    left_ = std::max((1U << pauses_) - 1, excess > 0.0 ? static_cast<unsigned>(excess) : 0U);
    std::vector<KrEvaluationRequest> requests;
    auto const chosen =
        vote_.choose(std::move(paths), idle, [this](KrRealVector const& x) { return isFree(x); });
    for (KrRealVector const& point : chosen) {
        flights_[run_.nextTicket_] = {point, nullptr, std::chrono::steady_clock::now()};
        requests.push_back({run_.nextTicket_++, point});
    }
    run_.workers_.start(requests);
}
