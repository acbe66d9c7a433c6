#include "function/object/KrMultivariableConstraintContainer.h"

#include "function/object/KrCreators.h"

KR_SOURCE_VERSION;

double KrMultivariableConstraintContainer::evaluate(KrRealVector const& x) const {
    return topElement() ? topElement()->evaluate(x) : 0.0;
}

double KrMultivariableConstraintContainer::evaluate(KrXmlRealVector const& x) const {
    return topElement() ? topElement()->evaluate(x) : 0.0;
}

KrRealVector const& KrMultivariableConstraintContainer::gradient(KrRealVector const& x) const {
    return topElement() ? topElement()->gradient(x) : noGradient_;
}

KrRealVector const& KrMultivariableConstraintContainer::gradient(KrXmlRealVector const& x) const {
    return topElement() ? topElement()->gradient(x) : noGradient_;
}

void KrMultivariableConstraintContainer::registerComponentCreators() {
    KrCreators::registerConstraints(*this);
}
