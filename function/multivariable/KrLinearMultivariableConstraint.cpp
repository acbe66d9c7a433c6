#include "function/multivariable/KrLinearMultivariableConstraint.h"

#include "function/multivariable/internal/KrSparseCoefficients.h"

#include <algorithm>
#include <cmath>
#include <typeinfo>
#include <utility>

KR_SOURCE_VERSION;

namespace {

// Whether the sum stays bit-identical without the terms of coefficients 0.0. If a component
// is not finite, its term is NaN. Otherwise the term is a zero, which changes only a sum of
// -0.0. If the first sum is not -0.0, no later sum is.
bool maySkipZeros(double start, KrRealVector const& x) {
    bool const isMinusZero = start == 0.0 && std::signbit(start);
    return !isMinusZero &&
           std::ranges::all_of(x, [](double component) { return std::isfinite(component); });
}

}  // namespace

KrLinearMultivariableConstraint::KrLinearMultivariableConstraint() = default;

KrLinearMultivariableConstraint::KrLinearMultivariableConstraint(
    KrLinearMultivariableConstraint const&) = default;

KrLinearMultivariableConstraint::KrLinearMultivariableConstraint(
    KrLinearMultivariableConstraint&&) noexcept = default;

KrLinearMultivariableConstraint& KrLinearMultivariableConstraint::operator=(
    KrLinearMultivariableConstraint const&) = default;

KrLinearMultivariableConstraint& KrLinearMultivariableConstraint::operator=(
    KrLinearMultivariableConstraint&&) noexcept = default;

KrLinearMultivariableConstraint::~KrLinearMultivariableConstraint() = default;

double KrLinearMultivariableConstraint::evaluate(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    double v = offset();
    if (typeid(*this) == typeid(KrLinearMultivariableConstraint) && maySkipZeros(v, x)) {
        KrSparseCoefficients::rows(index_, indices_, coefficients_)
            .line(n)
            .forEach([&](double a, std::size_t i) { v = a * x[i] + v; });
        return v;
    }
    for (KrU32 i = 0; i < n; ++i) {
        v = coefficient(i) * x[i] + v;
    }
    return v;
}

// The direction of the coefficients. Of the point, only its length counts.
KrRealVector const& KrLinearMultivariableConstraint::gradient(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    gradient_.resize(n);
    if (typeid(*this) == typeid(KrLinearMultivariableConstraint)) {
        std::fill(gradient_.begin(), gradient_.end(), 0.0);
        KrSparseCoefficients::rows(index_, indices_, coefficients_)
            .line(n)
            .forEach([&](double a, std::size_t i) { gradient_[i] = a; });
    } else {
        for (KrU32 i = 0; i < n; ++i) {
            gradient_[i] = coefficient(i);
        }
    }
    normalizeGradient();
    return gradient_;
}

double KrLinearMultivariableConstraint::coefficient(KrU32 index) const {
    return KrSparseCoefficients::coefficient(index_, indices_, coefficients_, 0, index);
}

void KrLinearMultivariableConstraint::setCoefficient(KrU32 index, double value) {
    KrSparseCoefficients::setCoefficient(index_, indices_, coefficients_, 0, index, value);
}

void KrLinearMultivariableConstraint::registerComponents() {
    KrTaggedElement::registerComponents();
    registerComponent(KrFunction::KrOffsetToken, &offset_);
    registerComponent(KrFunction::KrFirstOrderIndicesToken, &indices_);
    registerComponent(KrFunction::KrFirstOrderCoefficientsToken, &coefficients_);
}

KrXmlComponentMap& KrLinearMultivariableConstraint::componentMap() {
    index_.clear();
    return KrTaggedElement::componentMap();
}
