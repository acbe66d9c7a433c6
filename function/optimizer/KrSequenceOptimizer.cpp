#include "function/optimizer/KrSequenceOptimizer.h"

#include "function/optimizer/internal/KrSearch.h"

KR_SOURCE_VERSION;

double KrSequenceOptimizer::findMinimum(KrScalarMultivariableFunction const& f,
                                        KrRealVector const& start, KrRealVector& result) const {
    return search({&KrScalarMultivariableOptimizer::findMinimum, 1e300,
                   [](double value, double best) { return best > value; }},
                  f, start, result);
}

double KrSequenceOptimizer::findMaximum(KrScalarMultivariableFunction const& f,
                                        KrRealVector const& start, KrRealVector& result) const {
    return search({&KrScalarMultivariableOptimizer::findMaximum, -1e300,
                   [](double value, double best) { return value > best; }},
                  f, start, result);
}

double KrSequenceOptimizer::search(Direction const& direction,
                                   KrScalarMultivariableFunction const& f,
                                   KrRealVector const& start, KrRealVector& result) const {
    result = start;
    if (optimizerSequence().size() == 0 || numberPasses() == 0) {
        return f.evaluate(result);
    }
    return executeInParallel() ? runTournament(direction, f, result)
                               : runChain(direction, f, result);
}

double KrSequenceOptimizer::runChain(Direction const& direction,
                                     KrScalarMultivariableFunction const& f,
                                     KrRealVector& result) const {
    KrScalarMultivariableOptimizerVector const& optimizers = optimizerSequence();
    double value = 0.0;
    for (KrU32 pass = 0; pass < numberPasses(); ++pass) {
        for (KrU32 k = 0; k < optimizers.size(); ++k) {
            value = (optimizers[k].*direction.find)(f, result, result);
        }
    }
    return value;
}

double KrSequenceOptimizer::runTournament(Direction const& direction,
                                          KrScalarMultivariableFunction const& f,
                                          KrRealVector& result) const {
    State& s = *state_;
    KrSearch::Turn const turn(s.taken, *this);
    if (turn.clone()) {
        return turn.clone()->runTournament(direction, f, result);
    }
    KrScalarMultivariableOptimizerVector const& optimizers = optimizerSequence();
    double best = direction.worst;
    for (KrU32 pass = 0; pass < numberPasses(); ++pass) {
        s.passStart = result;
        for (KrU32 k = 0; k < optimizers.size(); ++k) {
            double const value = (optimizers[k].*direction.find)(f, s.passStart, s.candidate);
            if (direction.isBetter(value, best)) {
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
