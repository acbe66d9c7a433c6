#include "function/optimizer/KrImplicitFilteringOptimizer.h"

#include "function/optimizer/internal/KrPointSet.h"

#include <algorithm>
#include <cmath>

KR_SOURCE_VERSION;

double KrImplicitFilteringOptimizer::search(double sign, KrScalarMultivariableFunction const& f,
                                            KrRealVector const& start, KrRealVector& result) const {
    State& s = *state_;
    initialize(sign, f, start, 1.0);
    *evaluations_ = 0;  // the first stencil is not charged
    double scale = 1.0;
    while (*evaluations_ < maxFunctionEvaluations()) {
        bool shrink = false;
        singleStep(sign, f, shrink);
        if (shrink) {
            scale *= simplexScaleFactor();
        }
        initialize(sign, f, s.bestPoint, scale);
    }
    result = s.bestPoint;
    return s.bestValue;
}

void KrImplicitFilteringOptimizer::initialize(double sign, KrScalarMultivariableFunction const& f,
                                              KrRealVector const& start, double scale) const {
    State& s = *state_;
    KrU32 const n = f.domainDim();
    s.values.clear();  // if the function throws, no value refers to an earlier stencil
    KrPointSet::buildStencil(n, start, simplexEdgeLengths(), defaultSimplexEdgeLength(), scale,
                             s.stencil);
    s.gradient.resize(n);
    s.trialPoint.resize(n);
    KrPointSet::evaluate(sign, f, s.stencil.rows(), s.values);
    *evaluations_ += s.values.size();
    findMaxAndMin();
    s.bestPoint = s.stencil[s.minIndex];
    s.bestValue = s.values[s.minIndex];
}

double KrImplicitFilteringOptimizer::singleStep(double sign, KrScalarMultivariableFunction const& f,
                                                bool& done) const {
    State& s = *state_;
    KrU32 const n = s.stencil.numColumns();
    done = false;
    // Nothing to do in 0 dimensions, and before a stencil was built.
    if (n == 0 || s.values.empty() || s.values.size() != s.stencil.numRows()) {
        return 0.0;
    }
    Slope const slope = differenceGradient();
    KrRealVector const& centre = s.stencil[0];
    double const centreValue = s.values[0];
    double lambda = lineSearchInitialLambdaMultiplier() / std::max(slope.steepness, 1e-9);
    for (KrU32 trial = 0; trial < lineSearchMaxIterations(); ++trial) {
        for (KrU32 j = 0; j < n; ++j) {
            s.trialPoint[j] = centre[j] - lambda * s.gradient[j];
        }
        double const value = sign * f.evaluate(s.trialPoint);
        ++*evaluations_;
        bool const decreasesEnough =
            value - centreValue < -(lineSearchAlpha() * lambda * slope.squared);
        if (decreasesEnough) {
            // Even if a point of the stencil is lower: that may be noise.
            s.bestPoint = s.trialPoint;
            s.bestValue = value;
            double const smallSlope = slope.largestWidth * tau();
            done = smallSlope * smallSlope > slope.squared;
            return s.bestValue;
        }
        lambda *= lineSearchBeta();
    }
    done = true;
    return s.bestValue;
}

// Forms central differences over the stencil. A coordinate of width 0 gets gradient 0.
KrImplicitFilteringOptimizer::Slope KrImplicitFilteringOptimizer::differenceGradient() const {
    State& s = *state_;
    KrU32 const n = s.stencil.numColumns();
    Slope slope;
    for (KrU32 i = 0; i < n; ++i) {
        KrU32 const forward = i + 1;
        KrU32 const backward = n + 1 + i;
        double const width = s.stencil[forward][i] - s.stencil[backward][i];
        slope.largestWidth = std::max(slope.largestWidth, std::fabs(width));
        s.gradient[i] = 0.0;
        if (width != 0.0) {
            s.gradient[i] = (s.values[forward] - s.values[backward]) / width;
            slope.steepness = std::max(slope.steepness, std::fabs(s.gradient[i] / width));
            // Assigned, not summed: the tests of a step use the last component alone, and
            // their parameters are tuned to it.
            slope.squared = s.gradient[i] * s.gradient[i];
        }
    }
    return slope;
}

void KrImplicitFilteringOptimizer::findMaxAndMin() const {
    KrPointSet::findExtremes(state_->values, state_->minIndex, state_->maxIndex);
}

KrU32 KrImplicitFilteringOptimizer::findMinIndex(KrRealVector const& values) const {
    return KrPointSet::minIndexOf(values);
}

void KrImplicitFilteringOptimizer::registerComponents() {
    registerComponent(KrFunction::KrLineSearchAlphaToken, &lineSearchAlpha_);
    registerComponent(KrFunction::KrLineSearchBetaToken, &lineSearchBeta_);
    registerComponent(KrFunction::KrLineSearchMaxIterationsToken, &lineSearchMaxIterations_);
    registerComponent(KrFunction::KrLineSearchInitialLambdaMultiplierToken,
                      &lineSearchInitialLambdaMultiplier_);
    registerComponent(KrFunction::KrTauToken, &tau_);
    registerComponent(KrFunction::KrSimplexScaleFactorToken, &simplexScaleFactor_);
    registerComponent(KrFunction::KrMaxFunctionEvaluationsToken, &maxFunctionEvaluations_);
    registerComponent(KrFunction::KrSimplexEdgeLengthsToken, &simplexEdgeLengths_);
    registerComponent(KrFunction::KrDefaultSimplexEdgeLengthToken, &defaultSimplexEdgeLength_);
}
