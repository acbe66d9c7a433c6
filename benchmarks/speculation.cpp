// What speculation saves: the problems of Moré and Wild, searched with W workers that evaluate
// W points at once, round by round. While a search waits for a value, the other workers evaluate
// what it will probably ask for.
//
// "Asked" is the number of evaluations that the search without workers asks for per round, "made"
// the number of those that it makes: a point that it asks for again has its value already. "Work"
// is the number of evaluations that the workers make for one of the search without workers. Means
// are geometric. Every search must find the same bits with and without workers. Otherwise the
// problem is printed, and the status is 1.
//
// With `--milliseconds=20`, threads evaluate functions that sleep so long, and the rounds are the
// time over that of one evaluation. With `--spread=0.5`, each evaluation takes a time of its own,
// from half of that to one and a half. `--every=K` takes each K-th problem, `--edge=E` another
// first edge.

#include "WorkerSearches.h"
#include "search/KrCallingThread.h"
#include "search/KrThreadWorkers.h"

#include <bit>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace {

using MoreWild::Variant;
using WorkerSearches::hasSameBits;
using WorkerSearches::optimizers;
using WorkerSearches::Problem;

constexpr Variant variants[] = {Variant::smooth, Variant::piecewiseSmooth, Variant::noisy};

/// Evaluates up to `count` points in a round, those first that were started first.
class Rounds : public KrEvaluationWorkers {
public:
    Rounds(KrScalarMultivariableFunction const& f, KrU32 count) : f_(f), count_(count) {}

    KrU32 count() const override { return count_; }
    void start(std::span<KrEvaluationRequest const> requests) override {
        waiting_.insert(waiting_.end(), requests.begin(), requests.end());
    }
    // A round ends only if the search waits at least for its duration.
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token) override {
        if (waiting_.empty() || until < std::chrono::steady_clock::now() + duration) {
            return false;
        }
        ++rounds_;
        for (KrU32 i = 0; i < count_ && !waiting_.empty(); ++i) {
            KrEvaluationRequest const& request = waiting_.front();
            KrEvaluation& evaluation =
                all.emplace_back(KrCallingThread::evaluate(f_, request.point));
            evaluation.ticket = request.ticket;
            evaluation.seconds = double(duration.count());
            waiting_.pop_front();
            ++evaluations_;
        }
        return true;
    }
    // Drops what waits: the search has its result.
    void cancel() override { waiting_.clear(); }

    KrU32 rounds() const { return rounds_; }
    KrU32 evaluations() const { return evaluations_; }

private:
    static constexpr std::chrono::seconds duration{60};  // predictions are never short of time

    KrScalarMultivariableFunction const& f_;
    KrU32 count_;
    std::deque<KrEvaluationRequest> waiting_;
    KrU32 rounds_ = 0;
    KrU32 evaluations_ = 0;
};

struct Gain {
    double asked = 0.0;
    double made = 0.0;
    double work = 0.0;
};

// What the command line sets.
double milliseconds = 0.0;  // of an evaluation; 0 counts rounds
double spread = 0.0;        // of the times of evaluations, relative
std::size_t every = 1;      // which problems

bool allAreSame = true;

/// Takes its time for an evaluation. How long depends on the point.
class Slow : public KrScalarMultivariableFunction {
public:
    explicit Slow(MoreWild::Function const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override {
        std::uint64_t hash = 0;
        for (double const component : x) {
            hash = (hash ^ std::bit_cast<std::uint64_t>(component)) * 0x9e3779b97f4a7c15;
        }
        double const uniform = std::ldexp(double(hash >> 11), -53);
        std::this_thread::sleep_for(std::chrono::duration<double, std::milli>(
            milliseconds * (1.0 + spread * (2.0 * uniform - 1.0))));
        return f_.evaluate(x);
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    MoreWild::Function f_;
};

struct Run {
    KrSearchReport report;
    double rounds;
    KrU32 evaluations;
};

Run inRounds(KrSearch const& search, KrScalarMultivariableFunction const& f, KrU32 workers) {
    Rounds rounds(f, workers);
    KrSearchReport const report = search.run(rounds);
    return {report, double(rounds.rounds()), rounds.evaluations()};
}

/// The rounds are the time, in mean evaluations.
Run inTime(KrSearch const& search, MoreWild::Function const& f, KrU32 workers) {
    std::vector<Slow> const functions(workers, Slow(f));  // one thread at a time uses each
    std::vector<KrScalarMultivariableFunction const*> pointers;
    for (Slow const& function : functions) {
        pointers.push_back(&function);
    }
    KrThreadWorkers threads(pointers);
    KrSearchReport const report = search.run(threads);
    return {report, report.seconds() * 1e3 / milliseconds, report.evaluationsMade()};
}

/// The geometric means over the problems.
Gain gain(KrSearch (*searchOf)(Problem const&), Variant variant, KrU32 workers) {
    Gain sums;
    std::size_t problems = 0;
    for (std::size_t p = 0; p < MoreWild::problems.size(); p += every, ++problems) {
        Problem const& problem = MoreWild::problems[p];
        MoreWild::Function const f(problem, variant);
        KrSearch const search = searchOf(problem);
        KrSearchReport const alone = search.run(f);
        auto const [together, rounds, evaluations] =
            milliseconds == 0.0 ? inRounds(search, f, workers) : inTime(search, f, workers);
        if (!hasSameBits(alone, together)) {
            allAreSame = false;
            std::printf("\nOther bits: family %u, n = %u", problem.family, problem.n);
        }
        sums.asked += std::log(double(alone.evaluations()) / rounds);
        sums.made += std::log(double(alone.evaluationsMade()) / rounds);
        sums.work += std::log(double(evaluations) / alone.evaluationsMade());
    }
    auto const mean = [&](double sum) { return std::exp(sum / double(problems)); };
    return {mean(sums.asked), mean(sums.made), mean(sums.work)};
}

void printTable(KrU32 workers) {
    std::printf("\n\n%-20s%22s%24s%24s\n%-18s", ("W = " + std::to_string(workers)).c_str(),
                "smooth", "piecewise smooth", "noisy", "");
    for (std::size_t v = 0; v < std::size(variants); ++v) {
        std::printf("   %7s%7s%7s", "asked", "made", "work");
    }
    for (auto const& [name, searchOf] : optimizers) {
        std::printf("\n%-18s", name);
        for (Variant const variant : variants) {
            auto const [asked, made, work] = gain(searchOf, variant, workers);
            std::printf("   %7.2f%7.2f%7.2f", asked, made, work);
            std::fflush(stdout);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    KrU32 only = 0;
    for (int i = 1; i < argc; ++i) {
        // scripts/checks.sh gives all benchmarks the same options, which have no effect here.
        if (std::sscanf(argv[i], "--milliseconds=%lf", &milliseconds) != 1 &&
            std::sscanf(argv[i], "--spread=%lf", &spread) != 1 &&
            std::sscanf(argv[i], "--every=%zu", &every) != 1 &&
            std::sscanf(argv[i], "--edge=%lf", &WorkerSearches::edge) != 1 &&
            std::sscanf(argv[i], "--workers=%u", &only) != 1 &&
            !std::string_view(argv[i]).starts_with("--benchmark_")) {
            std::fprintf(
                stderr,
                "usage: %s [--milliseconds=T [--spread=S]] [--every=K] [--edge=E] [--workers=W]\n",
                argv[0]);
            return 2;
        }
    }
    every = std::max<std::size_t>(every, 1);
    std::printf("Every %zu of %zu problems, %u evaluations, first edge %g, ", every,
                MoreWild::problems.size(), WorkerSearches::budget, WorkerSearches::edge);
    milliseconds == 0.0
        ? std::printf("in rounds")
        : std::printf("evaluations of %g ms +- %g %% on threads", milliseconds, 100.0 * spread);
    for (KrU32 const workers : only != 0 ? std::vector{only} : std::vector<KrU32>{4, 8, 16}) {
        printTable(workers);
    }
    std::printf("\n");
    return allAreSame ? 0 : 1;
}
