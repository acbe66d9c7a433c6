#include "function/object/KrScalarMultivariableOptimizerVector.h"

#include "function/object/KrCreators.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

void KrScalarMultivariableOptimizerVector::registerComponentCreators() {
    KrCreators::registerOptimizers(*this);
}
