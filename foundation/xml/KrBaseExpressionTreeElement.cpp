#include "foundation/xml/KrBaseExpressionTreeElement.h"

KR_SOURCE_VERSION;

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
