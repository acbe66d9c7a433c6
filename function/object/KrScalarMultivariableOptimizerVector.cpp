#include "function/object/KrScalarMultivariableOptimizerVector.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

void KrScalarMultivariableOptimizerVector::registerComponentCreators() {
    KrCreators::registerOptimizers(*this);
}
