// What speculation saves: the problems of Moré and Wild, searched with W workers that evaluate
// W points at once, round by round. While a search waits for a value, the other workers evaluate
// what it will probably ask for.
//
// "Asked" is the number of evaluations that the search without workers asks for per round, "made"
// the number of those that it makes: a point that it asks for again has its value already. "Work"
// is the number of evaluations that the workers make for one of the search without workers. Means
// are geometric. Every search has 400 evaluations and a first edge of 0.1 times the size of the
// start point, and must find the same bits with and without workers. Otherwise the problem is
// printed, and the status is 1.

#include "OptimizerSettings.h"
#include "search/KrCallingThread.h"
#include "search/KrSearch.h"
#include "support/MoreWild.h"

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

using MoreWild::Problem;
using MoreWild::Variant;

constexpr KrU32 budget = 400;
constexpr double edge = 0.1;
constexpr KrU32 workerCounts[] = {4, 8, 16};
constexpr Variant variants[] = {Variant::smooth, Variant::piecewiseSmooth, Variant::noisy};

/// Evaluates up to `count` points in a round, those first that were started first.
class Rounds : public KrEvaluationWorkers {
public:
    Rounds(KrScalarMultivariableFunction const& f, KrU32 count) : f_(f), count_(count) {}

    KrU32 count() const override { return count_; }
    void start(std::span<KrEvaluationRequest const> requests) override {
        waiting_.insert(waiting_.end(), requests.begin(), requests.end());
    }
    // A round ends when the search waits for it, and not when it only looks.
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token) override {
        if (waiting_.empty() || until < std::chrono::steady_clock::now()) {
            return false;
        }
        ++rounds_;
        for (KrU32 i = 0; i < count_ && !waiting_.empty(); ++i) {
            KrEvaluationRequest const& request = waiting_.front();
            KrEvaluation& evaluation =
                all.emplace_back(KrCallingThread::evaluate(f_, request.point));
            evaluation.ticket = request.ticket;
            evaluation.seconds = 60.0;  // predictions are never short of time
            waiting_.pop_front();
            ++evaluations_;
        }
        return true;
    }
    // What waits is not evaluated: the search has its result.
    void cancel() override { waiting_.clear(); }

    KrU32 rounds() const { return rounds_; }
    KrU32 evaluations() const { return evaluations_; }

private:
    KrScalarMultivariableFunction const& f_;
    KrU32 count_;
    std::deque<KrEvaluationRequest> waiting_;
    KrU32 rounds_ = 0;
    KrU32 evaluations_ = 0;
};

template <class Optimizer>
KrSearch searchOf(Problem const& problem) {
    KrRealVector const start = problem.start();
    Optimizer optimizer;
    OptimizerSettings::configure(
        optimizer, {problem.n, budget, budget, edge * OptimizerSettings::size(start)});
    KrSearch search;
    search.setOptimizer(optimizer);
    search.setMaxEvaluations(budget);
    for (KrU32 i = 0; i < problem.n; ++i) {
        search.addVariable("x" + std::to_string(i), start[i]);
    }
    return search;
}

struct {
    char const* name;
    KrSearch (*search)(Problem const& problem);
} const optimizers[] = {{"Nelder-Mead", searchOf<KrNelderMeadOptimizer>},
                        {"Hooke-Jeeves", searchOf<KrHookeJeevesOptimizer>},
                        {"Multidirectional", searchOf<KrMultidirectionalSearchOptimizer>},
                        {"Implicit filtering", searchOf<KrImplicitFilteringOptimizer>},
                        {"Sequence, chain", searchOf<KrSequenceOptimizer>}};

bool hasSameBits(KrSearchReport const& a, KrSearchReport const& b) {
    auto const bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    return bits(a.bestValue()) == bits(b.bestValue()) && a.bestPoint() == b.bestPoint() &&
           bits(a.answer()) == bits(b.answer()) && a.answerPoint() == b.answerPoint() &&
           a.evaluations() == b.evaluations();
}

struct Gain {
    double asked = 0.0;
    double made = 0.0;
    double work = 0.0;
};

bool allAreSame = true;

/// The geometric means over the problems.
Gain gain(KrSearch (*searchOf)(Problem const&), Variant variant, KrU32 workers) {
    Gain sums;
    for (Problem const& problem : MoreWild::problems) {
        MoreWild::Function const f(problem, variant);
        KrSearch const search = searchOf(problem);
        KrSearchReport const alone = search.run(f);
        Rounds rounds(f, workers);
        KrSearchReport const together = search.run(rounds);
        if (!hasSameBits(alone, together)) {
            allAreSame = false;
            std::printf("\nOther bits: family %u, n = %u", problem.family, problem.n);
        }
        sums.asked += std::log(double(alone.evaluations()) / rounds.rounds());
        sums.made += std::log(double(alone.evaluationsMade()) / rounds.rounds());
        sums.work += std::log(double(rounds.evaluations()) / alone.evaluationsMade());
    }
    auto const mean = [](double sum) { return std::exp(sum / double(MoreWild::problems.size())); };
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
    for (int i = 1; i < argc; ++i) {
        // What runs all benchmarks gives each the same options; there is nothing to set here.
        if (!std::string_view(argv[i]).starts_with("--benchmark_")) {
            std::fprintf(stderr, "usage: %s [--benchmark_...]\n", argv[0]);
            return 2;
        }
    }
    std::printf("%zu problems, %u evaluations, first edge %g", MoreWild::problems.size(), budget,
                edge);
    for (KrU32 const workers : workerCounts) {
        printTable(workers);
    }
    std::printf("\n");
    return allAreSame ? 0 : 1;
}
