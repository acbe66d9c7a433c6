#include "function/optimizer/KrNelderMeadOptimizer.h"

#include "foundation/math/KrMath.h"
#include "function/optimizer/internal/KrSearch.h"

#include <algorithm>
#include <cmath>

KR_SOURCE_VERSION;

double KrNelderMeadOptimizer::search(double sign, KrScalarMultivariableFunction const& f,
                                     KrRealVector const& start, KrRealVector& result) const {
    State& s = *state_;
    initialize(sign, f, start, 1.0);
    s.evaluations = 0;  // the first simplex is not charged
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
    // Should the function throw, no value and no index may outlast its vertex.
    s.values.clear();
    s.minIndex = s.maxIndex = 0;
    KrSearch::seedSimplex(n, start, simplexEdgeLengths(), defaultSimplexEdgeLength(), scale,
                          s.simplex);
    s.distances.origin = Distances::nowhere;
    s.share = 1.0 / n;
    s.centroid.resize(n);
    s.reflected.resize(n);
    s.expanded.resize(n);
    s.contracted.resize(n);
    KrSearch::evaluateBatch(sign, f, s.simplex.rows(), s.values);
    s.evaluations += n + std::uint64_t{1};
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
    KrSearch::combine(1.0 + a, s.centroid, -a, worst, s.reflected);
    double const reflectedValue = evaluate(sign, f, s.reflected);

    bool const beatsBest = reflectedValue < bestValue;
    bool const beatsWorst = worstValue > reflectedValue;
    // Counted without a branch for each value; the worst one does not count.
    bool const beatsAnother =
        KrSearch::countAbove(reflectedValue, s.values) > (beatsWorst ? 1U : 0U);
    if (beatsBest) {
        // The expanded point is compared with the old best value, not with the
        // reflected one: Nelder and Mead's own rule.
        double const g = gamma();
        KrSearch::combine(g, s.reflected, 1.0 - g, s.centroid, s.expanded);
        double const expandedValue = evaluate(sign, f, s.expanded);
        if (expandedValue < bestValue && s.expansions < maxExpansionSteps()) {
            ++s.expansions;
            exchangeHighVertex(n, s.expanded, expandedValue);
        } else {
            exchangeHighVertex(n, s.reflected, reflectedValue);
        }
    } else if (beatsAnother) {
        exchangeHighVertex(n, s.reflected, reflectedValue);
    } else {
        bool const reflectionHelps = !(reflectedValue > worstValue);
        KrRealVector const& base = reflectionHelps ? s.reflected : worst;
        double const baseValue = reflectionHelps ? reflectedValue : worstValue;
        double const b = beta();
        KrSearch::combine(b, base, 1.0 - b, s.centroid, s.contracted);
        double const contractedValue = evaluate(sign, f, s.contracted);
        // Compared with the old worst value even where the base is the reflected
        // point.
        bool const contractionHelps = contractedValue < worstValue;
        bool const canAffordShrink = s.evaluations + n + 1 <= maxFunctionEvaluations();
        if (contractionHelps) {
            exchangeHighVertex(n, s.contracted, contractedValue);
        } else if (canAffordShrink) {
            exchangeHighVertexAndContract(sign, f, n, base, baseValue);
        }
    }

    done = stoppingThreshold() > s.values[s.maxIndex] - s.values[s.minIndex] ||
           s.evaluations >= maxFunctionEvaluations();
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
    // The centroid gains the vertex that comes in and loses the one that is worst then.
    for (KrU32 j = 0; j < n; ++j) {
        exchanged[j] = from[j];
        centroid[j] += exchanged[j] * s.share;
    }
    s.values[s.maxIndex] = value;
    s.distances.forget(s.maxIndex);
    findMaxAndMin();
    double const* const worst = s.simplex[s.maxIndex].data();
    for (KrU32 j = 0; j < n; ++j) {
        centroid[j] -= worst[j] * s.share;
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
    double const kept = sigma();
    for (KrU32 i = 0; i < s.simplex.numRows(); ++i) {
        if (i != s.minIndex) {
            KrRealVector& vertex = s.simplex[i];
            for (KrU32 j = 0; j < n; ++j) {
                vertex[j] = kept * vertex[j] + (1.0 - kept) * best[j];
            }
        }
    }
    s.distances.origin = Distances::nowhere;
    // The best vertex did not move and is evaluated all the same: a shrink costs
    // the n+1 evaluations that the budget was asked for.
    for (KrU32 i = 0; i < s.simplex.numRows(); ++i) {
        s.values[i] = evaluate(sign, f, s.simplex[i]);
    }
    findMaxAndMin();
    calculateVertexMeanExcludingMaxPoint();
}

void KrNelderMeadOptimizer::findMaxAndMin() const {
    KrSearch::findExtremes(state_->values, state_->minIndex, state_->maxIndex);
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
        component *= s.share;
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

// Whether the worst value fell by less than eta times the squared slope since
// the last step, the slope being the largest (F(i) - F(best)) / |v(i) - v(best)|
// over the first n vertices; the last vertex is never looked at. Also when the
// values have come within the stopping threshold.
bool KrNelderMeadOptimizer::hasStalled() const {
    State& s = *state_;
    double const spread = s.values[s.maxIndex] - s.values[s.minIndex];
    if (stoppingThreshold() > spread) {
        return true;
    }
    KrU32 const n = s.simplex.numColumns();
    double const e = eta();
    double const decrease = s.previousWorstValue - s.values[s.maxIndex];
    s.distances.measureFrom(s.minIndex, n);

    // A sum of squares only grows as it is summed, so a part of a distance bounds
    // the ratio from above; where the bound is already within the decrease, the
    // vertex cannot decide and the rest of its distance is not needed. That holds
    // where no difference is NaN: the centroid is finite only if all vertices but the
    // worst are.
    bool const canBound = e >= 0.0 && std::isfinite(e) && decrease >= 0.0 &&
                          KrSearch::isFinite(s.centroid) &&
                          KrSearch::isFinite(s.simplex[s.maxIndex]);
    auto const ratio = [&s](KrU32 i) {
        double const rise = s.values[i] - s.values[s.minIndex];
        return rise * rise / KrMath::nonZeroPos(s.distances.sum[i]);
    };
    auto const cannotDecide = [&](KrU32 i) {
        constexpr KrU32 stride = 16;
        while (!(e * s.ratios[i] <= decrease)) {
            KrU32 const summed = s.distances.summed[i];
            if (summed == n) {
                return false;
            }
            sumDistance(i, std::min(n, summed + stride));
            s.ratios[i] = ratio(i);
        }
        return true;
    };
    s.ratios.resize(n);
    for (KrU32 i = 0; i < n; ++i) {
        s.ratios[i] = ratio(i);
    }
    double largestRatio = 0.0;
    for (KrU32 i = 0; i < n; ++i) {
        if (i == s.minIndex || (canBound && cannotDecide(i))) {
            continue;
        }
        sumDistance(i, n);
        double const whole = ratio(i);
        largestRatio = whole > largestRatio ? whole : largestRatio;
    }
    return e * largestRatio > decrease;
}

// Brings the squared distance of a vertex from the origin of the distances up to
// its first `upTo` components.
void KrNelderMeadOptimizer::sumDistance(KrU32 vertex, KrU32 upTo) const {
    State& s = *state_;
    KrRealVector const& from = s.simplex[s.distances.origin];
    KrRealVector const& to = s.simplex[vertex];
    double sum = s.distances.sum[vertex];
    for (KrU32 j = s.distances.summed[vertex]; j < upTo; ++j) {
        double const difference = to[j] - from[j];
        sum += difference * difference;
    }
    s.distances.sum[vertex] = sum;
    s.distances.summed[vertex] = upTo;
}

void KrNelderMeadOptimizer::Distances::measureFrom(KrU32 vertex, KrU32 count) {
    if (origin != vertex) {
        origin = nowhere;
        sum.assign(count, 0.0);
        summed.assign(count, 0);
        origin = vertex;
    }
}

void KrNelderMeadOptimizer::Distances::forget(KrU32 vertex) {
    if (vertex == origin) {
        origin = nowhere;
    } else if (origin != nowhere && vertex < sum.size()) {
        sum[vertex] = 0.0;
        summed[vertex] = 0;
    }
}

double KrNelderMeadOptimizer::evaluate(double sign, KrScalarMultivariableFunction const& f,
                                       KrRealVector const& point) const {
    State& s = *state_;
    double const value = sign * f.evaluate(point);
    ++s.evaluations;
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
