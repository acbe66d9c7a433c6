#include "function/object/KrUnitaryMapContainer.h"

#include "function/object/KrCreators.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrUnitaryMapContainer::evaluate(double const& x) const {
    return topElement() ? topElement()->evaluate(x) : x;
}

void KrUnitaryMapContainer::registerComponentCreators() { KrCreators::registerUnitaryMaps(*this); }
