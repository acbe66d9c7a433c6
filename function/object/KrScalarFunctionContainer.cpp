#include "function/object/KrScalarFunctionContainer.h"

#include "function/object/KrCreators.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrScalarFunctionContainer::evaluate(double const& x) const {
    return topElement() ? topElement()->evaluate(x) : x;
}

void KrScalarFunctionContainer::registerComponentCreators() {
    KrCreators::registerScalarFunctions(*this);
}
