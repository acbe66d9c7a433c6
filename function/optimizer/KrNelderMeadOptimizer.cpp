#include "function/optimizer/KrNelderMeadOptimizer.h"

#include "foundation/math/KrMath.h"
#include "function/optimizer/internal/KrPointSet.h"

#include <algorithm>
#include <cmath>

KR_SOURCE_VERSION;

double KrNelderMeadOptimizer::search(double sign, KrScalarMultivariableFunction const& f,
                                     KrRealVector const& start, KrRealVector& result) const {
    State& s = *state_;
    initialize(sign, f, start, 1.0);
    *evaluations_ = 0;  // the first simplex is not charged
    s.expansions = 0;
    bool done = maxTotalSteps() == 0;
    for (KrU32 step = 0; !done;) {
        singleStep(sign, f, done);
        if (!done) {
            restartIfNeeded(sign, f);
            done = ++step >= maxTotalSteps();
        }
    }
    result = s.simplex[s.minIndex];
    return s.values[s.minIndex];
}

void KrNelderMeadOptimizer::initialize(double sign, KrScalarMultivariableFunction const& f,
                                       KrRealVector const& start, double scale) const {
    State& s = *state_;
    KrU32 const n = f.domainDim();
    // If the function throws, no value and no index refers to a vertex of an earlier simplex.
    s.values.clear();
    s.minIndex = s.maxIndex = 0;
    KrPointSet::buildSimplex(n, start, simplexEdgeLengths(), defaultSimplexEdgeLength(), scale,
                             s.simplex);
    s.distances.clear();
    s.centroidWeight = 1.0 / n;
    s.centroid.resize(n);
    s.reflected.resize(n);
    s.expanded.resize(n);
    s.contracted.resize(n);
    KrPointSet::evaluate(sign, f, s.simplex.rows(), s.values);
    *evaluations_ += n + std::uint64_t{1};
    s.evaluationsSinceRestart = n + std::uint64_t{1};
    findMaxAndMin();
    calculateVertexMeanExcludingMaxPoint();
}

double KrNelderMeadOptimizer::singleStep(double sign, KrScalarMultivariableFunction const& f,
                                         bool& done) const {
    State& s = *state_;
    if (s.values.empty()) {  // no simplex was built yet
        done = true;
        return 0.0;
    }
    KrU32 const n = s.simplex.numColumns();
    KrRealVector const& worst = s.simplex[s.maxIndex];
    double const worstValue = s.values[s.maxIndex];
    double const bestValue = s.values[s.minIndex];

    double const a = alpha();
    KrPointSet::combine(1.0 + a, s.centroid, -a, worst, s.reflected);
    double const reflectedValue = evaluate(sign, f, s.reflected);

    bool const beatsBest = reflectedValue < bestValue;
    bool const beatsWorst = worstValue > reflectedValue;
    bool const beatsSecondWorst =
        KrPointSet::countAbove(reflectedValue, s.values) > (beatsWorst ? 1U : 0U);
    if (beatsBest) {
        // Nelder and Mead compare the expanded point with the best vertex, not with the
        // reflected point.
        double const g = gamma();
        KrPointSet::combine(g, s.reflected, 1.0 - g, s.centroid, s.expanded);
        double const expandedValue = evaluate(sign, f, s.expanded);
        if (expandedValue < bestValue && s.expansions < maxExpansionSteps()) {
            ++s.expansions;
            exchangeHighVertex(n, s.expanded, expandedValue);
        } else {
            exchangeHighVertex(n, s.reflected, reflectedValue);
        }
    } else if (beatsSecondWorst) {
        exchangeHighVertex(n, s.reflected, reflectedValue);
    } else {
        bool const reflectionHelps = !(reflectedValue > worstValue);
        KrRealVector const& base = reflectionHelps ? s.reflected : worst;
        double const baseValue = reflectionHelps ? reflectedValue : worstValue;
        double const b = beta();
        KrPointSet::combine(b, base, 1.0 - b, s.centroid, s.contracted);
        double const contractedValue = evaluate(sign, f, s.contracted);
        // The comparison is with the worst vertex, even if the base is the reflected point.
        bool const contractionHelps = contractedValue < worstValue;
        bool const canAffordShrink = *evaluations_ + n + 1 <= maxFunctionEvaluations();
        if (contractionHelps) {
            exchangeHighVertex(n, s.contracted, contractedValue);
        } else if (canAffordShrink) {
            exchangeHighVertexAndContract(sign, f, n, base, baseValue);
        }
    }

    done = stoppingThreshold() > s.values[s.maxIndex] - s.values[s.minIndex] ||
           *evaluations_ >= maxFunctionEvaluations();
    return s.values[s.minIndex];
}

void KrNelderMeadOptimizer::exchangeHighVertex(KrU32 n, KrRealVector const& point,
                                               double value) const {
    State& s = *state_;
    if (s.values.empty()) {  // no simplex was built yet
        return;
    }
    n = std::min({n, s.simplex.numColumns(), static_cast<KrU32>(point.size())});
    double const* const from = point.data();
    double* const centroid = s.centroid.data();
    double* const exchanged = s.simplex[s.maxIndex].data();
    // The centroid gains the new vertex, and then loses the vertex that is now the worst.
    for (KrU32 j = 0; j < n; ++j) {
        exchanged[j] = from[j];
        centroid[j] += exchanged[j] * s.centroidWeight;
    }
    s.values[s.maxIndex] = value;
    s.distances.invalidate(s.maxIndex);
    findMaxAndMin();
    double const* const worst = s.simplex[s.maxIndex].data();
    for (KrU32 j = 0; j < n; ++j) {
        centroid[j] -= worst[j] * s.centroidWeight;
    }
}

void KrNelderMeadOptimizer::exchangeHighVertexAndContract(double sign,
                                                          KrScalarMultivariableFunction const& f,
                                                          KrU32 n, KrRealVector const& point,
                                                          double value) const {
    State& s = *state_;
    if (s.values.empty()) {
        return;
    }
    exchangeHighVertex(n, point, value);
    n = s.simplex.numColumns();
    KrRealVector const& best = s.simplex[s.minIndex];
    double const c = sigma();
    for (KrU32 i = 0; i < s.simplex.numRows(); ++i) {
        if (i != s.minIndex) {
            KrRealVector& vertex = s.simplex[i];
            for (KrU32 j = 0; j < n; ++j) {
                vertex[j] = c * vertex[j] + (1.0 - c) * best[j];
            }
        }
    }
    s.distances.clear();
    // The best vertex did not move, but its evaluation is part of the n+1 of a shrink.
    for (KrU32 i = 0; i < s.simplex.numRows(); ++i) {
        s.values[i] = evaluate(sign, f, s.simplex[i]);
    }
    findMaxAndMin();
    calculateVertexMeanExcludingMaxPoint();
}

void KrNelderMeadOptimizer::findMaxAndMin() const {
    KrPointSet::findExtremes(state_->values, state_->minIndex, state_->maxIndex);
}

void KrNelderMeadOptimizer::calculateVertexMeanExcludingMaxPoint() const {
    State& s = *state_;
    KrU32 const n = s.simplex.numColumns();
    std::fill(s.centroid.begin(), s.centroid.end(), 0.0);
    for (KrU32 i = 0; i < s.simplex.numRows(); ++i) {
        if (i != s.maxIndex) {
            KrRealVector const& vertex = s.simplex[i];
            for (KrU32 j = 0; j < n; ++j) {
                s.centroid[j] += vertex[j];
            }
        }
    }
    for (double& component : s.centroid) {
        component *= s.centroidWeight;
    }
}

void KrNelderMeadOptimizer::restartIfNeeded(double const& sign,
                                            KrScalarMultivariableFunction const& f) const {
    State& s = *state_;
    if (s.values.empty()) {
        return;
    }
    bool const isDue = s.evaluationsSinceRestart > restartCheckPeriod();
    if (isDue && hasStalled()) {
        s.restartPoint = s.simplex[s.minIndex];
        initialize(sign, f, s.restartPoint, 1.0);
    }
    s.previousWorstValue = s.values[s.maxIndex];
}

// Returns the squared slope to a vertex, from the part of its distance summed so far.
inline double KrNelderMeadOptimizer::squaredSlope(KrU32 vertex) const {
    State const& s = *state_;
    double const rise = s.values[vertex] - s.values[s.minIndex];
    return rise * rise / KrMath::nonZeroPos(s.distances.sum[vertex]);
}

// Adds up to `count` more components to the squared distance of a vertex.
inline void KrNelderMeadOptimizer::sumDistance(KrU32 vertex, KrU32 count) const {
    State& s = *state_;
    KrRealVector const& from = s.simplex[s.distances.origin];
    KrRealVector const& to = s.simplex[vertex];
    double sum = s.distances.sum[vertex];
    KrU32 const begin = s.distances.summed[vertex];
    KrU32 const end = std::min(begin + count, s.simplex.numColumns());
    for (KrU32 j = begin; j < end; ++j) {
        double const difference = to[j] - from[j];
        sum += difference * difference;
    }
    s.distances.sum[vertex] = sum;
    s.distances.summed[vertex] = end;
}

// Returns the largest squared slope from the best vertex to one of the first n vertices.
// A slope with eta slope² <= decrease may be left out: it does not change the test.
inline double KrNelderMeadOptimizer::largestSquaredSlope(double eta, double decrease) const {
    State& s = *state_;
    KrU32 const n = s.simplex.numColumns();
    s.distances.measureFrom(s.minIndex, n);
    // A part of a squared distance is a lower bound of it unless a difference is NaN. The
    // centroid is finite only if all vertices but the worst are.
    bool const partsAreBounds = eta >= 0.0 && std::isfinite(eta) && decrease >= 0.0 &&
                                KrPointSet::isFinite(s.centroid) &&
                                KrPointSet::isFinite(s.simplex[s.maxIndex]);
    // In a loop of their own, the slopes are computed side by side: in the next loop they cost
    // 9 % of a search at n = 100 that tests at every step.
    s.slopes.resize(n);
    for (KrU32 i = 0; i < n; ++i) {
        s.slopes[i] = squaredSlope(i);
    }
    auto const cannotDecide = [&](double slope) {
        return partsAreBounds && eta * slope <= decrease;
    };
    KrU32 const stride = partsAreBounds ? 16 : n;
    double largest = 0.0;
    for (KrU32 i = 0; i < n; ++i) {
        if (i == s.minIndex || cannotDecide(s.slopes[i])) {
            continue;
        }
        double slope = 0.0;
        do {
            sumDistance(i, stride);
            slope = squaredSlope(i);
        } while (s.distances.summed[i] < n && !cannotDecide(slope));
        largest = std::max(largest, slope);
    }
    return largest;
}

// Whether eta (F(i) - F(best))² / |v(i) - v(best)|² exceeds the decrease of the worst value
// in the last step, for one of the first n vertices; the last vertex is not tested. Also if
// the values differ by less than the stopping threshold.
bool KrNelderMeadOptimizer::hasStalled() const {
    State& s = *state_;
    double const spread = s.values[s.maxIndex] - s.values[s.minIndex];
    if (stoppingThreshold() > spread) {
        return true;
    }
    double const decrease = s.previousWorstValue - s.values[s.maxIndex];
    double const e = eta();
    return e * largestSquaredSlope(e, decrease) > decrease;
}

void KrNelderMeadOptimizer::Distances::measureFrom(KrU32 vertex, KrU32 count) {
    if (origin != vertex) {
        clear();  // stays so if memory runs out
        sum.assign(count, 0.0);
        summed.assign(count, 0);
        origin = vertex;
    }
}

void KrNelderMeadOptimizer::Distances::invalidate(KrU32 vertex) {
    if (vertex == origin) {
        clear();
    } else if (origin != none && vertex < sum.size()) {
        sum[vertex] = 0.0;
        summed[vertex] = 0;
    }
}

double KrNelderMeadOptimizer::evaluate(double sign, KrScalarMultivariableFunction const& f,
                                       KrRealVector const& point) const {
    State& s = *state_;
    double const value = sign * f.evaluate(point);
    ++*evaluations_;
    ++s.evaluationsSinceRestart;
    return value;
}

void KrNelderMeadOptimizer::registerComponents() {
    registerComponent(KrFunction::KrAlphaToken, &alpha_);
    registerComponent(KrFunction::KrBetaToken, &beta_);
    registerComponent(KrFunction::KrGammaToken, &gamma_);
    registerComponent(KrFunction::KrSigmaToken, &sigma_);
    registerComponent(KrFunction::KrStoppingThresholdToken, &stoppingThreshold_);
    registerComponent(KrFunction::KrMaxTotalStepsToken, &maxTotalSteps_);
    registerComponent(KrFunction::KrMaxFunctionEvaluationsToken, &maxFunctionEvaluations_);
    registerComponent(KrFunction::KrMaxExpansionStepsToken, &maxExpansionSteps_);
    registerComponent(KrFunction::KrRestartCheckPeriodToken, &restartCheckPeriod_);
    registerComponent(KrFunction::KrEtaToken, &eta_);
    registerComponent(KrFunction::KrSimplexEdgeLengthsToken, &simplexEdgeLengths_);
    registerComponent(KrFunction::KrDefaultSimplexEdgeLengthToken, &defaultSimplexEdgeLength_);
}
