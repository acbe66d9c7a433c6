#include "function/object/KrMultivariableConstraintVector.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

void KrMultivariableConstraintVector::registerComponentCreators() {
    KrCreators::registerConstraints(*this);
}
