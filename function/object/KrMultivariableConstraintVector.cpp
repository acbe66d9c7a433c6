#include "function/object/KrMultivariableConstraintVector.h"

#include "function/object/KrCreators.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

void KrMultivariableConstraintVector::registerComponentCreators() {
    KrCreators::registerConstraints(*this);
}
