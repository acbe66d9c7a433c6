#include "foundation/xml/KrXmlObjectVisitor.h"

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrXmlObjectVisitor::~KrXmlObjectVisitor() = default;

void KrXmlObjectVisitor::visit(KrXmlObject*) {}

void KrXmlObjectVisitor::visit(KrXmlCompoundType* object) {
    visit(static_cast<KrXmlObject*>(object));
}

void KrXmlObjectVisitor::visit(KrXmlBaseVariableCompoundType* object) {
    visit(static_cast<KrXmlObject*>(object));
}
