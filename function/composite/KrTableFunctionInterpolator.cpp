#include "function/composite/KrTableFunctionInterpolator.h"

#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlWriter.h"

#include <string>

KR_SOURCE_VERSION;

namespace {

// A cell of 64 axes has 2^64 corners. Without a limit, a document of 1 MB took 1.2 GB: each
// branch above a table keeps a copy of its box.
constexpr KrU32 mostAxes = 64;
}  // namespace

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
    bool good = KrCompositeFunctionElement::read(reader);
    if (KrU32 const axes = independentData_.size(); axes > mostAxes) {
        independentData_.clear();
        good = reader.refuse("at most " + std::to_string(mostAxes) + " axes", std::to_string(axes));
    }
    if (good) {
        init();
    }
    return good;
}

KrBoolean KrTableFunctionInterpolator::write(KrXmlWriter& writer) const {
    if (independentData_.size() > mostAxes) {
        writer.refuse("a table of " + std::to_string(independentData_.size()) +
                      " axes, where readers take " + std::to_string(mostAxes));
        return false;
    }
    return KrCompositeFunctionElement::write(writer);
}

void KrTableFunctionInterpolator::registerComponents() {
    registerComponent(KrFunction::KrIndependentDataToken, &independentData_);
    registerComponent(KrFunction::KrDependentDataToken, &dependentData_);
}
