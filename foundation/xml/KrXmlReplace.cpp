#include "foundation/xml/KrXmlReplace.h"

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlObjectVisitor.h"

#include <algorithm>
#include <cstddef>
#include <vector>

KR_SOURCE_VERSION;

namespace {

// Collects the objects that create elements. The order is the same for all objects of a
// class.
struct Creators : KrXmlObjectVisitor {
    explicit Creators(KrXmlObject& object) { object.accept(this); }
    void visit(KrXmlObject*) override {}
    void visit(KrXmlCompoundType* object) override {
        for (auto* const map : {&object->componentMap(), &object->specialDescriptorMap()}) {
            for (auto const& component : *map) {
                component.object->accept(this);
            }
        }
    }
    void visit(KrXmlBaseVariableCompoundType* object) override { found.push_back(object); }
    std::vector<KrXmlBaseVariableCompoundType*> found;
};

}  // namespace

void KrXml::takeOverCreators(KrXmlObject& fresh, KrXmlObject& object) {
    Creators const target(fresh);
    Creators const source(object);
    for (std::size_t i = 0; i < std::min(target.found.size(), source.found.size()); ++i) {
        target.found[i]->takeOverCreators(*source.found[i]);
    }
}
