#include "function/composite/KrTableFunctionInterpolator.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrRealVector const& KrTableFunctionInterpolator::evaluate(KrRealVector const& point,
                                                          KrBoolean& ok) const {
    ok = true;
    return interpolator_.evaluate(point);
}

KrCompositeFunctionElement::Bounds const& KrTableFunctionInterpolator::initBounds() {
    return bounds_ = interpolator_.initBounds();
}

KrCompositeFunctionElement::Flags const& KrTableFunctionInterpolator::initLimitOrExtrapolate() {
    return limitOrExtrapolate_ = interpolator_.initLimitOrExtrapolate();
}

KrBoolean KrTableFunctionInterpolator::init() {
    interpolator_.init();
    for (KrU32 d = 0; d < independentData_.size(); ++d) {
        independentData_[d].init();
        interpolator_.addDimension(independentData_[d].dimension());
    }
    for (KrXmlRealVector const& table : dependentData_) {
        interpolator_.addInterpolator(KrRealVector(table.begin(), table.end()));
    }
    return true;
}

void KrTableFunctionInterpolator::dependentDataPushBack(KrRealVector const& table) {
    dependentData_.pushBack(KrXmlRealVector::fromValues(table));
}

void KrTableFunctionInterpolator::independentDataPushBack(
    KrTableFunctionVectorSearch const& search) {
    independentData_.pushBack(search);
}

KrBoolean KrTableFunctionInterpolator::read(KrXmlReader& reader) {
    bool const good = KrCompositeFunctionElement::read(reader);
    if (good) {
        init();
    }
    return good;
}

void KrTableFunctionInterpolator::registerComponents() {
    registerComponent(KrFunction::KrIndependentDataToken, &independentData_);
    registerComponent(KrFunction::KrDependentDataToken, &dependentData_);
}
