#include "function/multivariable/KrLinearMultivariableConstraint.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>

KR_SOURCE_VERSION;

namespace {

// Whether the sum keeps its bits if the coefficients 0.0 are passed over: 0.0 times a
// number that is not finite is NaN, and of the finite sums only -0.0 is changed by
// adding a zero. No later sum is -0.0 when the first is not.
bool maySkipZeros(double start, KrRealVector const& x) {
    bool const isMinusZero = start == 0.0 && std::signbit(start);
    return !isMinusZero &&
           std::ranges::all_of(x, [](double component) { return std::isfinite(component); });
}

}  // namespace

double KrLinearMultivariableConstraint::evaluate(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    double v = offset();
    if (goesByList(n) && maySkipZeros(v, x)) {
        first_.line(n).forEach([&](double a, std::size_t i) { v = a * x[i] + v; });
        return v;
    }
    for (KrU32 i = 0; i < n; ++i) {
        v = coefficient(i) * x[i] + v;
    }
    return v;
}

// The direction of the coefficients; the point matters by its length alone.
KrRealVector const& KrLinearMultivariableConstraint::gradient(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    gradient_.resize(n);
    if (goesByList(n)) {
        std::fill(gradient_.begin(), gradient_.end(), 0.0);
        first_.line(n).forEach([&](double a, std::size_t i) { gradient_[i] = a; });
    } else {
        for (KrU32 i = 0; i < n; ++i) {
            gradient_[i] = coefficient(i);
        }
    }
    normalizeGradient();
    return gradient_;
}

// Whether the look-up is known to be this class's own, and there is enough to
// pass over.
bool KrLinearMultivariableConstraint::goesByList(KrU32 n) const {
    return typeid(*this) == typeid(KrLinearMultivariableConstraint) && !(first_.areFew() && n <= 8);
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
