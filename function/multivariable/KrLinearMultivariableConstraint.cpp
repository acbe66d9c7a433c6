#include "function/multivariable/KrLinearMultivariableConstraint.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

double KrLinearMultivariableConstraint::evaluate(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    double v = offset();
    for (KrU32 i = 0; i < n; ++i) {
        v = coefficient(i) * x[i] + v;
    }
    return v;
}

// The direction of the coefficients; the point matters by its length alone.
KrRealVector const& KrLinearMultivariableConstraint::gradient(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    gradient_.resize(n);
    for (KrU32 i = 0; i < n; ++i) {
        gradient_[i] = coefficient(i);
    }
    normalizeGradient();
    return gradient_;
}

void KrLinearMultivariableConstraint::registerComponents() {
    KrTaggedElement::registerComponents();
    registerComponent(KrFunction::KrOffsetToken, &offset_);
    registerComponent(KrFunction::KrFirstOrderIndicesToken, first_.indices());
    registerComponent(KrFunction::KrFirstOrderCoefficientsToken, first_.coefficients());
}

KrXmlComponentMap& KrLinearMultivariableConstraint::componentMap() {
    first_.dropIndex();
    return KrTaggedElement::componentMap();
}
