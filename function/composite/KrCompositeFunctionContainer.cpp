#include "function/composite/KrCompositeFunctionContainer.h"

#include "function/object/KrCreators.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
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
