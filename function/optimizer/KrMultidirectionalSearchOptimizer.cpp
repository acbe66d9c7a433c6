#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"

#include "function/optimizer/KrSearch.h"

#include <algorithm>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrMultidirectionalSearchOptimizer::findMinimum(KrScalarMultivariableFunction const& f,
                                                      KrRealVector const& start,
                                                      KrRealVector& result) const {
    return search(1.0, f, start, result);
}

double KrMultidirectionalSearchOptimizer::findMaximum(KrScalarMultivariableFunction const& f,
                                                      KrRealVector const& start,
                                                      KrRealVector& result) const {
    return -search(-1.0, f, start, result);
}

double KrMultidirectionalSearchOptimizer::search(double sign,
                                                 KrScalarMultivariableFunction const& f,
                                                 KrRealVector const& start,
                                                 KrRealVector& result) const {
    State& s = *state_;
    initialize(sign, f, start, 1.0);
    s.evaluations = 0;  // the first simplex is not charged
    bool done = true;   // and stays so in no dimensions
    do {
        if (s.evaluations >= maxFunctionEvaluations()) {
            break;
        }
        singleStep(sign, f, done);
    } while (!done);
    result = s.simplex[s.minIndex];
    return s.values[s.minIndex];
}

void KrMultidirectionalSearchOptimizer::initialize(double sign,
                                                   KrScalarMultivariableFunction const& f,
                                                   KrRealVector const& start, double scale) const {
    State& s = *state_;
    KrU32 const n = f.domainDim();
    KrSearch::seedSimplex(n, start, simplexEdgeLengths(), defaultSimplexEdgeLength(), scale,
                          s.simplex);
    for (TrialSet* trial : {&s.reflected, &s.expanded, &s.contracted}) {
        trial->points.resizeArray(n, n);
    }
    KrSearch::evaluateBatch(sign, f, s.simplex.rows(), s.values);
    s.evaluations += n + std::uint64_t{1};
    findMaxAndMin();
}

double KrMultidirectionalSearchOptimizer::singleStep(double sign,
                                                     KrScalarMultivariableFunction const& f,
                                                     bool& done) const {
    State& s = *state_;
    if (s.values.empty() || s.values.size() != s.simplex.numRows()) {  // none was built yet
        done = true;
        return 0.0;
    }
    if (s.simplex.numColumns() == 0) {
        return 0.0;
    }
    double const bestValue = s.values[s.minIndex];
    double const reflectedValue = tryVertices(sign, f, 1.0 + alpha(), -alpha(), s.reflected);
    TrialSet const* accepted = &s.contracted;
    if (bestValue > reflectedValue) {
        double const expandedValue = tryVertices(sign, f, 1.0 + gamma(), -gamma(), s.expanded);
        // A tie goes to the larger simplex, and so does a NaN.
        accepted = expandedValue > reflectedValue ? &s.reflected : &s.expanded;
    } else {
        // Accepted even where it is worse: a smaller simplex is what is wanted.
        tryVertices(sign, f, 1.0 - beta(), beta(), s.contracted);
    }
    setNewData(accepted->points, accepted->values);

    done = stoppingThreshold() > s.values[s.maxIndex] - s.values[s.minIndex] ||
           s.evaluations >= maxFunctionEvaluations();
    return s.values[s.minIndex];
}

// Fills and evaluates a set of trial points, ofBest best + ofVertex vertex for
// each vertex beside the best; returns the smallest of the values.
double KrMultidirectionalSearchOptimizer::tryVertices(double sign,
                                                      KrScalarMultivariableFunction const& f,
                                                      double ofBest, double ofVertex,
                                                      TrialSet& trial) const {
    State& s = *state_;
    KrU32 const n = s.simplex.numColumns();
    KrRealVector const& best = s.simplex[s.minIndex];
    for (KrU32 i = 0, next = 0; i <= n; ++i) {
        if (i != s.minIndex) {
            KrRealVector const& vertex = s.simplex[i];
            KrRealVector& point = trial.points[next++];
            for (KrU32 j = 0; j < n; ++j) {
                point[j] = ofBest * best[j] + ofVertex * vertex[j];
            }
        }
    }
    KrSearch::evaluateBatch(sign, f, trial.points.rows(), trial.values);
    s.evaluations += n;
    return trial.values[findMinIndex(trial.values)];
}

void KrMultidirectionalSearchOptimizer::findMaxAndMin() const {
    KrSearch::findExtremes(state_->values, state_->minIndex, state_->maxIndex);
}

KrU32 KrMultidirectionalSearchOptimizer::findMinIndex(KrRealVector const& values) const {
    return KrSearch::minIndexOf(values);
}

void KrMultidirectionalSearchOptimizer::setNewData(KrReArray const& points,
                                                   KrRealVector const& values) const {
    State& s = *state_;
    KrU32 const given = std::min(points.numRows(), static_cast<KrU32>(values.size()));
    for (KrU32 i = 0, next = 0; i < s.values.size() && next < given; ++i) {
        if (i != s.minIndex) {
            KrRealVector& vertex = s.simplex[i];
            std::size_t const length = std::min(points[next].size(), vertex.size());
            std::copy_n(points[next].begin(), length, vertex.begin());
            s.values[i] = values[next];
            ++next;
        }
    }
    findMaxAndMin();
}

void KrMultidirectionalSearchOptimizer::registerComponents() {
    registerComponent(KrFunction::KrAlphaToken, &alpha_);
    registerComponent(KrFunction::KrBetaToken, &beta_);
    registerComponent(KrFunction::KrGammaToken, &gamma_);
    registerComponent(KrFunction::KrStoppingThresholdToken, &stoppingThreshold_);
    registerComponent(KrFunction::KrMaxFunctionEvaluationsToken, &maxFunctionEvaluations_);
    registerComponent(KrFunction::KrSimplexEdgeLengthsToken, &simplexEdgeLengths_);
    registerComponent(KrFunction::KrDefaultSimplexEdgeLengthToken, &defaultSimplexEdgeLength_);
}
