#include "function/multivariable/KrBaseMultivariableConstraint.h"

#include "foundation/math/KrMath.h"

KR_SOURCE_VERSION;

KrBaseMultivariableConstraint::~KrBaseMultivariableConstraint() = default;

double KrBaseMultivariableConstraint::evaluate(KrXmlRealVector const& x) const {
    copyXmlRealVector(x);
    return evaluate(*point_);
}

KrRealVector const& KrBaseMultivariableConstraint::gradient(KrXmlRealVector const& x) const {
    copyXmlRealVector(x);
    return gradient(*point_);
}

void KrBaseMultivariableConstraint::normalizeGradient() const {
    double sum = 0.0;
    for (double const component : gradient_) {
        sum += component * component;
    }
    if (sum > 0.0) {
        double const length = KrMath::sqrt(sum);
        for (double& component : gradient_) {
            component /= length;
        }
    }
}

void KrBaseMultivariableConstraint::copyXmlRealVector(KrXmlRealVector const& x) const {
    point_->assign(x.begin(), x.end());
}
