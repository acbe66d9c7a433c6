#include "function/optimizer/KrSequenceOptimizer.h"

KR_SOURCE_VERSION;

double KrSequenceOptimizer::search(double sign, KrScalarMultivariableFunction const& f,
                                   KrRealVector const& start, KrRealVector& result) const {
    result = start;
    if (optimizerSequence().size() == 0 || numberPasses() == 0) {
        double const value = f.evaluate(result);
        return sign > 0.0 ? value : -value;
    }
    return executeInParallel() ? runTournament(sign, f, result) : runChain(sign, f, result);
}

double KrSequenceOptimizer::runOne(KrU32 k, double sign, KrScalarMultivariableFunction const& f,
                                   KrRealVector const& start, KrRealVector& result) const {
    KrScalarMultivariableOptimizer const& optimizer = optimizerSequence()[k];
    return sign > 0.0 ? optimizer.findMinimum(f, start, result)
                      : -optimizer.findMaximum(f, start, result);
}

double KrSequenceOptimizer::runChain(double sign, KrScalarMultivariableFunction const& f,
                                     KrRealVector& result) const {
    double value = 0.0;
    for (KrU32 pass = 0; pass < numberPasses(); ++pass) {
        for (KrU32 k = 0; k < optimizerSequence().size(); ++k) {
            value = runOne(k, sign, f, result, result);
        }
    }
    return value;
}

double KrSequenceOptimizer::runTournament(double sign, KrScalarMultivariableFunction const& f,
                                          KrRealVector& result) const {
    State& s = *state_;
    double best = 1e300;
    for (KrU32 pass = 0; pass < numberPasses(); ++pass) {
        s.passStart = result;
        for (KrU32 k = 0; k < optimizerSequence().size(); ++k) {
            double const value = runOne(k, sign, f, s.passStart, s.candidate);
            if (value < best) {
                result = s.candidate;
                best = value;
            }
        }
    }
    return best;
}

void KrSequenceOptimizer::registerComponents() {
    registerComponent(KrFunction::KrNumberPassesToken, &numberPasses_);
    registerComponent(KrFunction::KrOptimizerSequenceToken, &optimizerSequence_);
    registerComponent(KrFunction::KrExecuteInParallelToken, &executeInParallel_);
}
