#include "function/composite/KrTableFunctionVectorSearch.h"

#include <algorithm>

KR_SOURCE_VERSION;

KrBoolean KrTableFunctionVectorSearch::init() {
    KrRealVector const breakpoints(independentVector_.begin(), independentVector_.end());
    dimension_.init(breakpoints, lowerBoundaryOption(), upperBoundaryOption(), searchOption());
    return true;
}

void KrTableFunctionVectorSearch::independentVector(KrRealVector const& vector) {
    independentVector_ = KrXmlRealVector::fromValues(vector);
}

void KrTableFunctionVectorSearch::lowerBoundaryOption(BOUNDARY_OPTION const& option) {
    lowerBoundaryOption_ = static_cast<unsigned short>(option);
}

void KrTableFunctionVectorSearch::upperBoundaryOption(BOUNDARY_OPTION const& option) {
    upperBoundaryOption_ = static_cast<unsigned short>(option);
}

void KrTableFunctionVectorSearch::searchOption(SEARCH_OPTION const& option) {
    searchOption_ = static_cast<unsigned short>(option);
}

KrBoolean KrTableFunctionVectorSearch::read(KrXmlReader& reader) {
    bool const good = KrXmlCompoundType::read(reader);
    if (good) {
        init();
    }
    return good;
}

void KrTableFunctionVectorSearch::registerComponents() {
    for (auto* const boundary : {&lowerBoundaryOption_, &upperBoundaryOption_}) {
        boundary->setEnumString(KrVectorSearchEnums::LIMIT, KrFunction::KrBoundaryLimitToken);
        boundary->setEnumString(KrVectorSearchEnums::EXTRAPOLATE,
                                KrFunction::KrBoundaryExtrapolateToken);
    }
    searchOption_.setEnumString(KrVectorSearchEnums::LINEAR, KrFunction::KrSearchLinearToken);
    searchOption_.setEnumString(KrVectorSearchEnums::BISECTION, KrFunction::KrSearchBisectionToken);
    searchOption_.setEnumString(KrVectorSearchEnums::EQUAL_SPACED, KrFunction::KrSearchEqualToken);
    registerComponent(KrFunction::KrIndVectorToken, &independentVector_);
    registerAttributeComponent(KrFunction::KrIndSearchToken, &searchOption_);
    registerAttributeComponent(KrFunction::KrIndLowerBoundaryToken, &lowerBoundaryOption_);
    registerAttributeComponent(KrFunction::KrIndUpperBoundaryToken, &upperBoundaryOption_);
}
