#include "function/composite/KrCompositeFunctionContainer.h"

#include "function/object/KrCreators.h"

#include <utility>

KR_SOURCE_VERSION;

KrCompositeFunctionContainer& KrCompositeFunctionContainer::operator=(
    KrCompositeFunctionContainer const& source) {
    if (this != &source) {
        *this = KrCompositeFunctionContainer(source);
    }
    return *this;
}

KrCompositeFunctionContainer& KrCompositeFunctionContainer::operator=(
    KrCompositeFunctionContainer&& source) noexcept {
    Bounds bounds = std::move(source.bounds_);  // first: `source` may go with the old element
    KrElement::operator=(static_cast<KrElement&&>(source));
    bounds_ = std::move(bounds);
    return *this;
}

void KrCompositeFunctionContainer::evaluate(KrRealVector const& x, KrRealVector& y,
                                            KrBoolean& ok) const {
    ok = false;
    if (topElement()) {
        y = topElement()->evaluate(x, ok);
    }
}

void KrCompositeFunctionContainer::setTopElement(KrCompositeFunctionElement const& element) {
    KrBaseExpressionTreeContainer::setTopElement(element);
    prepareTopElement();
}

void KrCompositeFunctionContainer::setTopElementContainerToThis() {
    if (topElement()) {
        topElement()->setContainer(this);
    }
}

KrBoolean KrCompositeFunctionContainer::read(KrXmlReader& reader) {
    bool const good = KrBaseExpressionTreeContainer::read(reader);
    if (good) {
        prepareTopElement();
    }
    return good;
}

void KrCompositeFunctionContainer::registerComponentCreators() {
    KrCreators::registerCompositeFunctions(*this);
}

void KrCompositeFunctionContainer::prepareTopElement() {
    if (topElement()) {
        bounds_ = topElement()->initBounds();
        topElement()->initLimitOrExtrapolate();
    }
}
