#include "foundation/xml/KrXmlObjectVisitor.h"

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"

KR_SOURCE_VERSION;

KrXmlObjectVisitor::~KrXmlObjectVisitor() = default;

void KrXmlObjectVisitor::visit(KrXmlObject*) {}

void KrXmlObjectVisitor::visit(KrXmlCompoundType* object) {
    visit(static_cast<KrXmlObject*>(object));
}

void KrXmlObjectVisitor::visit(KrXmlBaseVariableCompoundType* object) {
    visit(static_cast<KrXmlObject*>(object));
}
