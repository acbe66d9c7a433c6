#include "function/object/KrUnitaryMapContainer.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

double KrUnitaryMapContainer::evaluate(double const& x) const {
    return topElement() ? topElement()->evaluate(x) : x;
}

void KrUnitaryMapContainer::registerComponentCreators() { KrCreators::registerUnitaryMaps(*this); }
