#include "function/composite/KrCompositeFunctionElement.h"

KR_SOURCE_VERSION;

KrBoolean KrCompositeFunctionElement::isInBounds(KrRealVector const& point) const {
    if (point.size() > bounds_.size()) {
        return false;
    }
    for (std::size_t i = 0; i < point.size(); ++i) {
        if (point[i] < bounds_[i][0] || point[i] > bounds_[i][1]) {
            return false;
        }
    }
    return true;
}

KrBoolean KrCompositeFunctionElement::ableToExtrap(KrRealVector const& point) const {
    if (point.size() > bounds_.size()) {
        return false;
    }
    for (std::size_t i = 0; i < point.size(); ++i) {
        bool const hasFlags = i < limitOrExtrapolate_.size();
        bool const mayGoBelow = hasFlags && limitOrExtrapolate_[i][0];
        bool const mayGoAbove = hasFlags && limitOrExtrapolate_[i][1];
        if ((point[i] < bounds_[i][0] && !mayGoBelow) ||
            (point[i] > bounds_[i][1] && !mayGoAbove)) {
            return false;
        }
    }
    return true;
}
