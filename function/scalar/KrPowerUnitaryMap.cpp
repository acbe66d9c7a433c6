#include "function/scalar/KrPowerUnitaryMap.h"

#include <cmath>

KR_SOURCE_VERSION;

double KrPowerUnitaryMap::evaluate(double const& x) const { return std::pow(x, exponent()); }

void KrPowerUnitaryMap::registerComponents() {
    registerComponent(KrFunction::KrExponentToken, &exponent_);
}
