#include "function/object/KrScalarMultivariableOptimizerContainer.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

double KrScalarMultivariableOptimizerContainer::findMinimum(KrScalarMultivariableFunction const& f,
                                                            KrRealVector const& start,
                                                            KrRealVector& result) const {
    return topElement() ? topElement()->findMinimum(f, start, result) : 0.0;
}

double KrScalarMultivariableOptimizerContainer::findMaximum(KrScalarMultivariableFunction const& f,
                                                            KrRealVector const& start,
                                                            KrRealVector& result) const {
    return topElement() ? topElement()->findMaximum(f, start, result) : 0.0;
}

void KrScalarMultivariableOptimizerContainer::registerComponentCreators() {
    KrCreators::registerOptimizers(*this);
}
