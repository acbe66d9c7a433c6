#include "function/scalar/KrLinearScalarFunction.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrLinearScalarFunction::evaluate(double const& x) const {
    return (1.0 - x) * startValue() + x * endValue();
}

void KrLinearScalarFunction::registerComponents() {
    registerComponent(KrFunction::KrStartValueToken, &startValue_);
    registerComponent(KrFunction::KrEndValueToken, &endValue_);
}
