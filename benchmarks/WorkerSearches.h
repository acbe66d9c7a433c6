#pragma once

#include "OptimizerSettings.h"
#include "search/KrSearch.h"
#include "support/MoreWild.h"

#include <bit>
#include <cstdint>
#include <string>

/// The searches of the benchmarks of workers: the problems of Moré and Wild, with 400 evaluations.
namespace WorkerSearches {

using MoreWild::Problem;

constexpr KrU32 budget = 400;
inline double edge = 0.1;  // the first, over the size of the start point

inline OptimizerSettings::Terms termsOf(Problem const& problem) {
    return {problem.n, budget, budget, edge * OptimizerSettings::size(problem.start())};
}

inline KrSearch searchOf(Problem const& problem, KrScalarMultivariableOptimizer const& optimizer) {
    KrRealVector const start = problem.start();
    KrSearch search;
    search.setOptimizer(optimizer);
    search.setMaxEvaluations(budget);
    for (KrU32 i = 0; i < problem.n; ++i) {
        search.addVariable("x" + std::to_string(i), start[i]);
    }
    return search;
}

template <class Optimizer>
KrSearch searchBy(Problem const& problem) {
    Optimizer optimizer;
    OptimizerSettings::configure(optimizer, termsOf(problem));
    return searchOf(problem, optimizer);
}

/// Two optimizers start from the same point, then both from the better result.
inline KrSearch searchByTournament(Problem const& problem) {
    OptimizerSettings::Terms terms = termsOf(problem);
    terms.evaluations /= 4;
    KrHookeJeevesOptimizer hookeJeeves;
    OptimizerSettings::configure(hookeJeeves, terms);
    KrNelderMeadOptimizer nelderMead;
    OptimizerSettings::configure(nelderMead, terms);
    KrScalarMultivariableOptimizerVector sequence;
    sequence.pushBack(hookeJeeves);
    sequence.pushBack(nelderMead);
    KrSequenceOptimizer optimizer;
    optimizer.setOptimizerSequence(sequence);
    optimizer.setExecuteInParallel(true);
    optimizer.setNumberPasses(2);
    return searchOf(problem, optimizer);
}

struct {
    char const* name;
    KrSearch (*search)(Problem const& problem);
} const optimizers[] = {{"Nelder-Mead", searchBy<KrNelderMeadOptimizer>},
                        {"Hooke-Jeeves", searchBy<KrHookeJeevesOptimizer>},
                        {"Multidirectional", searchBy<KrMultidirectionalSearchOptimizer>},
                        {"Implicit filtering", searchBy<KrImplicitFilteringOptimizer>},
                        {"Sequence, chain", searchBy<KrSequenceOptimizer>},
                        {"Tournament", searchByTournament}};

inline bool hasSameBits(KrSearchReport const& a, KrSearchReport const& b) {
    auto const bits = [](double x) { return std::bit_cast<std::uint64_t>(x); };
    return bits(a.bestValue()) == bits(b.bestValue()) && a.bestPoint() == b.bestPoint() &&
           bits(a.answer()) == bits(b.answer()) && a.answerPoint() == b.answerPoint() &&
           a.evaluations() == b.evaluations();
}

}  // namespace WorkerSearches
