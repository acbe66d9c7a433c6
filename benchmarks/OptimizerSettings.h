#pragma once

#include "foundation/math/KrRandom.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"

#include <algorithm>
#include <cmath>

/// The settings with which the benchmarks run the optimizers on problems of any size.
namespace OptimizerSettings {

constexpr KrU32 unlimited = 0xffffffff;

/// The size of a problem, the budget and the first edge of a search.
struct Terms {
    KrU32 n;
    KrU32 evaluations;
    KrU32 evaluationsInBatches;
    double edge;
};

inline void configure(KrNelderMeadOptimizer& optimizer, Terms const& terms) {
    optimizer.setDefaultSimplexEdgeLength(terms.edge);
    optimizer.setStoppingThreshold(0.0);
    optimizer.setMaxTotalSteps(unlimited);
    optimizer.setMaxExpansionSteps(unlimited);
    optimizer.setMaxFunctionEvaluations(terms.evaluations);
    // A restart uses the full edge length, so an early one loses the shape of the simplex.
    optimizer.setRestartCheckPeriod(40 * (terms.n + 1));
}

inline void configure(KrHookeJeevesOptimizer& optimizer, Terms const& terms) {
    KrRandom::seed(1);  // for the mode "random"
    optimizer.setDefaultEdgeLength(terms.edge);
    optimizer.setReductionFactor(0.25);
    optimizer.setMinTotalReduction(1e-12);
    optimizer.setMaxFunctionEvaluations(terms.evaluations);
}

inline void configure(KrMultidirectionalSearchOptimizer& optimizer, Terms const& terms) {
    optimizer.setDefaultSimplexEdgeLength(terms.edge);
    optimizer.setStoppingThreshold(0.0);
    optimizer.setMaxFunctionEvaluations(terms.evaluationsInBatches);
}

inline void configure(KrImplicitFilteringOptimizer& optimizer, Terms const& terms) {
    optimizer.setDefaultSimplexEdgeLength(terms.edge);
    optimizer.setLineSearchBeta(0.25);
    optimizer.setLineSearchMaxIterations(8);
    optimizer.setMaxFunctionEvaluations(terms.evaluationsInBatches);
}

inline void configure(KrSequenceOptimizer& optimizer, Terms const& terms) {
    KrU32 const quarter = terms.evaluations / 4;
    KrHookeJeevesOptimizer hookeJeeves;
    configure(hookeJeeves, terms);
    hookeJeeves.setMaxFunctionEvaluations(quarter);
    KrNelderMeadOptimizer nelderMead;
    configure(nelderMead, terms);
    nelderMead.setMaxFunctionEvaluations(terms.evaluations - quarter);
    KrScalarMultivariableOptimizerVector sequence;
    sequence.pushBack(hookeJeeves);
    sequence.pushBack(nelderMead);
    optimizer.setOptimizerSequence(sequence);
}

/// The size of a start point: its largest coordinate, at least 1.
inline double size(KrRealVector const& start) {
    double largest = 1.0;
    for (double const component : start) {
        largest = std::max(largest, std::abs(component));
    }
    return largest;
}

}  // namespace OptimizerSettings
