#include "foundation/xml/KrBaseExpressionTreeElement.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrBaseExpressionTreeElement::KrBaseExpressionTreeElement(
    KrXmlBaseVariableCompoundType const* container) {
    *container_ = container;
}

KrXmlBaseVariableCompoundType const* KrBaseExpressionTreeElement::container() const {
    return *container_;
}

void KrBaseExpressionTreeElement::setContainer(KrXmlBaseVariableCompoundType const* container) {
    *container_ = container;
}
