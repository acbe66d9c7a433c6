#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"

#include "function/optimizer/internal/KrPointSet.h"

#include <algorithm>

KR_SOURCE_VERSION;

double KrMultidirectionalSearchOptimizer::search(double sign,
                                                 KrScalarMultivariableFunction const& f,
                                                 KrRealVector const& start,
                                                 KrRealVector& result) const {
    State& s = *state_;
    initialize(sign, f, start, 1.0);
    *evaluations_ = 0;  // the first simplex is not charged
    bool done = true;   // a step in 0 dimensions leaves it so
    while (*evaluations_ < maxFunctionEvaluations()) {
        singleStep(sign, f, done);
        if (done) {
            break;
        }
    }
    result = s.simplex[s.minIndex];
    return s.values[s.minIndex];
}

void KrMultidirectionalSearchOptimizer::initialize(double sign,
                                                   KrScalarMultivariableFunction const& f,
                                                   KrRealVector const& start, double scale) const {
    State& s = *state_;
    KrU32 const n = f.domainDim();
    // If the function throws, no value and no index refers to a vertex of an earlier simplex.
    s.values.clear();
    s.minIndex = s.maxIndex = 0;
    KrPointSet::buildSimplex(n, start, simplexEdgeLengths(), defaultSimplexEdgeLength(), scale,
                             s.simplex);
    for (TrialSet* trial : {&s.reflected, &s.expanded, &s.contracted}) {
        trial->points.resizeArray(n, n);
    }
    KrPointSet::evaluate(sign, f, s.simplex.rows(), s.values);
    *evaluations_ += n + std::uint64_t{1};
    findMaxAndMin();
}

double KrMultidirectionalSearchOptimizer::singleStep(double sign,
                                                     KrScalarMultivariableFunction const& f,
                                                     bool& done) const {
    State& s = *state_;
    if (s.values.empty() || s.values.size() != s.simplex.numRows()) {  // no simplex was built yet
        done = true;
        return 0.0;
    }
    if (s.simplex.numColumns() == 0) {
        return 0.0;
    }
    auto const lowestOf = [this](TrialSet const& set) {
        return set.values[findMinIndex(set.values)];
    };
    double const a = alpha();
    double const b = beta();
    double const g = gamma();
    tryVertices(sign, f, 1.0 + a, -a, s.reflected);
    double const reflectedValue = lowestOf(s.reflected);
    bool const beatsBest = s.values[s.minIndex] > reflectedValue;
    TrialSet const* accepted = &s.contracted;
    if (beatsBest) {
        tryVertices(sign, f, 1.0 + g, -g, s.expanded);
        // If the two values are equal or one is NaN, the larger simplex wins.
        accepted = lowestOf(s.expanded) > reflectedValue ? &s.reflected : &s.expanded;
    } else {
        // Accepted even if it is worse: the next step needs a smaller simplex.
        tryVertices(sign, f, 1.0 - b, b, s.contracted);
    }
    setNewData(accepted->points, accepted->values);

    done = stoppingThreshold() > s.values[s.maxIndex] - s.values[s.minIndex] ||
           *evaluations_ >= maxFunctionEvaluations();
    return s.values[s.minIndex];
}

// Fills and evaluates a set of trial points: bestFactor best + vertexFactor vertex for each
// vertex other than the best.
void KrMultidirectionalSearchOptimizer::tryVertices(double sign,
                                                    KrScalarMultivariableFunction const& f,
                                                    double bestFactor, double vertexFactor,
                                                    TrialSet& trial) const {
    State& s = *state_;
    KrU32 const n = s.simplex.numColumns();
    double const* const best = s.simplex[s.minIndex].data();
    for (KrU32 j = 0; j < n; ++j) {
        KrPointSet::combine(n, bestFactor, best, vertexFactor, s.simplex[s.trialVertex(j)].data(),
                            trial.points[j].data());
    }
    KrPointSet::evaluate(sign, f, trial.points.rows(), trial.values);
    *evaluations_ += n;
}

void KrMultidirectionalSearchOptimizer::findMaxAndMin() const {
    KrPointSet::findExtremes(state_->values, state_->minIndex, state_->maxIndex);
}

KrU32 KrMultidirectionalSearchOptimizer::findMinIndex(KrRealVector const& values) const {
    return KrPointSet::minIndexOf(values);
}

void KrMultidirectionalSearchOptimizer::setNewData(KrReArray const& points,
                                                   KrRealVector const& values) const {
    State& s = *state_;
    if (s.values.empty()) {  // no simplex was built yet
        return;
    }
    // The search's own trial points are rewritten at the next step. So they are exchanged with
    // the vertices, not copied.
    KrReArray* own = nullptr;
    for (TrialSet* trial : {&s.reflected, &s.expanded, &s.contracted}) {
        own = &points == &trial->points ? &trial->points : own;
    }
    std::size_t const given =
        std::min({std::size_t{points.numRows()}, values.size(), s.values.size() - 1});
    for (KrU32 j = 0; j < given; ++j) {
        KrU32 const i = s.trialVertex(j);
        KrRealVector& vertex = s.simplex[i];
        if (own) {
            vertex.swap((*own)[j]);
        } else {
            std::copy_n(points[j].begin(), std::min(points[j].size(), vertex.size()),
                        vertex.begin());
        }
        s.values[i] = values[j];
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
