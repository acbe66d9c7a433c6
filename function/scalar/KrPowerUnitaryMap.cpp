#include "function/scalar/KrPowerUnitaryMap.h"

#include <cmath>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrPowerUnitaryMap::evaluate(double const& x) const { return std::pow(x, exponent()); }

void KrPowerUnitaryMap::registerComponents() {
    registerComponent(KrFunction::KrExponentToken, &exponent_);
}
