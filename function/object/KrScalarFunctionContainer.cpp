#include "function/object/KrScalarFunctionContainer.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

double KrScalarFunctionContainer::evaluate(double const& x) const {
    return topElement() ? topElement()->evaluate(x) : x;
}

void KrScalarFunctionContainer::registerComponentCreators() {
    KrCreators::registerScalarFunctions(*this);
}
