#include "function/scalar/KrLinearScalarFunction.h"

KR_SOURCE_VERSION;

double KrLinearScalarFunction::evaluate(double const& x) const {
    return (1.0 - x) * startValue() + x * endValue();
}

void KrLinearScalarFunction::registerComponents() {
    registerComponent(KrFunction::KrStartValueToken, &startValue_);
    registerComponent(KrFunction::KrEndValueToken, &endValue_);
}
