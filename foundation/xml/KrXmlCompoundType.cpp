#include "foundation/xml/KrXmlCompoundType.h"

#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlObjectVisitor.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"
#include "foundation/xml/internal/KrXmlParts.h"

#include <algorithm>
#include <initializer_list>

KR_SOURCE_VERSION;

namespace {

std::vector<KrToken> tagsOf(std::initializer_list<KrXmlComponentMap const*> maps) {
    std::vector<KrToken> tags;
    for (KrXmlComponentMap const* const map : maps) {
        for (auto const& entry : *map) {
            tags.push_back(entry.token);
        }
    }
    return tags;
}

// Calls `fill` with the map marked as registered, so that `fill` may use the map. If `fill`
// throws, the mark is removed.
template <class Fill>
void registerOnce(bool& registered, Fill fill) {
    registered = true;
    try {
        fill();
    } catch (...) {
        registered = false;
        throw;
    }
}

}  // namespace

void KrXmlComponentMap::add(KrToken const& token, KrXmlObject* object, bool readOnly) {
    for (Entry& entry : entries_) {
        if (entry.token == token) {
            entry = {token, object, readOnly};
            return;
        }
    }
    entries_.push_back({token, object, readOnly});
}

KrXmlComponentMap::Entry const* KrXmlComponentMap::find(KrToken const& token) const {
    for (Entry const& entry : entries_) {
        if (entry.token == token) {
            return &entry;
        }
    }
    return nullptr;
}

void KrXmlCompoundType::accept(KrXmlObjectVisitor* visitor) { visitor->visit(this); }

void KrXmlCompoundType::xmlInit() {
    for (auto const& component : componentMap()) {
        component.object->xmlInit();
    }
    for (auto const& attribute : attributeComponentMap()) {
        attribute.object->xmlInit();
    }
    KrXmlObject::xmlInit();
}

KrBoolean KrXmlCompoundType::read(KrXmlReader& reader) {
    prepared();
    KrXmlObject::read(reader);
    bool const attributesRead = readAttributes(reader);
    return readElements(reader) && attributesRead;
}

KrBoolean KrXmlCompoundType::write(KrXmlWriter& writer) const {
    prepared();
    return KrXmlObject::write(writer) && writeAttributes(writer) && writeElements(writer);
}

void KrXmlCompoundType::writeSchema(KrXmlSchema& schema) const {
    prepared();
    KrXmlObject::writeSchema(schema);
    writeSchemaElements(schema);
    writeSchemaAttributes(schema);
}

KrBoolean KrXmlCompoundType::readAttributes(KrXmlReader& reader) {
    bool good = true;
    for (auto const& attribute : prepared().attributeComponentMap()) {
        attribute.object->setSpecified(false);
    }
    while (reader.nextAttribute()) {
        good = readAttributeFromToken(reader.attributeName(), reader) && good;
    }
    return good;
}

KrBoolean KrXmlCompoundType::readElements(KrXmlReader& reader) {
    for (auto const& component : prepared().componentMap()) {
        component.object->setSpecified(false);
    }
    auto const readChild = [this](KrToken const& token, KrXmlReader& from) {
        return readValueFromToken(token, from);
    };
    auto const known = [this] { return tagsOf({&componentMap(), &specialDescriptorMap()}); };
    bool const good = krXmlReadChildren(reader, readChild, known);
    return good && std::ranges::all_of(componentMap(), [&](auto const& component) {
               return component.object->specified() ||
                      krXmlHasRoomFor(component.token, *component.object, reader);
           });
}

KrBoolean KrXmlCompoundType::writeAttributes(KrXmlWriter& writer) const {
    bool good = true;
    for (auto const& attribute : prepared().attributeComponentMap()) {
        writer.startAttribute(attribute.token);
        good = attribute.object->write(writer) && good;
        writer.endAttribute();
    }
    return good && writer.good();
}

KrBoolean KrXmlCompoundType::writeElements(KrXmlWriter& writer) const {
    bool good = true;
    for (auto const& component : prepared().componentMap()) {
        good = krXmlWriteElement(writer, component.token, *component.object) && good;
    }
    return good && writer.good();
}

void KrXmlCompoundType::writeSchemaAttributes(KrXmlSchema& schema) const {
    for (auto const& attribute : prepared().attributeComponentMap()) {
        schema.attribute(attribute.token, *attribute.object);
    }
}

void KrXmlCompoundType::writeSchemaElements(KrXmlSchema& schema) const {
    KrXmlCompoundType& self = prepared();
    if (!hasChildren()) {
        return;
    }
    schema.startGroup(KrXmlSchema::Group::All);
    for (auto const* map : {&self.componentMap(), &self.specialDescriptorMap()}) {
        for (auto const& child : *map) {
            schema.element(child.token, *child.object);
        }
    }
    schema.endGroup();
}

void KrXmlCompoundType::registerComponents() {}

void KrXmlCompoundType::registerComponent(KrToken const& token, KrXmlObject* object) {
    maps().components.add(token, object, false);
}

void KrXmlCompoundType::registerComponentReadOnly(KrToken const& token, KrXmlObject* object) {
    maps().components.add(token, object, true);
}

KrXmlComponentMap& KrXmlCompoundType::componentMap() {
    if (!maps().registered) {
        createComponentMap();
    }
    return maps().components;
}

void KrXmlCompoundType::registerAttributeComponent(KrToken const& token, KrXmlObject* object) {
    maps().attributes.add(token, object, false);
}

void KrXmlCompoundType::registerAttributeComponentReadOnly(KrToken const& token,
                                                           KrXmlObject* object) {
    maps().attributes.add(token, object, true);
}

KrXmlComponentMap& KrXmlCompoundType::attributeComponentMap() {
    if (!maps().registered) {
        createAttributeComponentMap();
    }
    return maps().attributes;
}

KrXmlComponentMap& KrXmlCompoundType::specialDescriptorMap() {
    if (!maps().specialsRegistered) {
        maps().specials.clear();  // removes entries of a registration that threw
        registerOnce(maps().specialsRegistered, [this] { createSpecialDescriptorMap(); });
    }
    return maps().specials;
}

bool KrXmlCompoundType::hasChildren() const {
    KrXmlCompoundType& self = prepared();
    return !self.componentMap().empty() || !self.specialDescriptorMap().empty();
}

bool KrXmlCompoundType::hasAttributes() const {
    return !prepared().attributeComponentMap().empty();
}

KrBoolean KrXmlCompoundType::readValueFromToken(KrToken const& token, KrXmlReader& reader) {
    auto const* const component = prepared().componentMap().find(token);
    if (!component) {
        return readValueFromSpecialToken(token, reader);
    }
    if (component->readOnly) {
        return true;
    }
    return krXmlGiveOnce(*component->object, reader) && component->object->read(reader);
}

KrBoolean KrXmlCompoundType::readValueFromSpecialToken(KrToken const& token, KrXmlReader& reader) {
    auto const* const special = specialDescriptorMap().find(token);
    return special && special->object->read(reader);
}

KrBoolean KrXmlCompoundType::readAttributeFromToken(KrToken const& token, KrXmlReader& reader) {
    KrXmlComponentMap const& attributes = prepared().attributeComponentMap();
    auto const* const attribute = attributes.find(token);
    if (!attribute) {
        return reader.refuseAttribute([&attributes] { return tagsOf({&attributes}); });
    }
    if (attribute->readOnly) {
        return true;
    }
    attribute->object->setSpecified(true);
    return attribute->object->readAttribute(reader);
}

void KrXmlCompoundType::newComponentMap() {
    maps().components.clear();
    maps().attributes.clear();
}

void KrXmlCompoundType::newSpecialDescriptorMap() { maps().specials.clear(); }

void KrXmlCompoundType::createComponentMap() {
    newComponentMap();
    registerOnce(maps().registered, [this] { registerComponents(); });
}

void KrXmlCompoundType::createAttributeComponentMap() { createComponentMap(); }

void KrXmlCompoundType::createSpecialDescriptorMap() { newSpecialDescriptorMap(); }

bool KrXmlCompoundType::isReadOnlyComponent(KrToken token) const {
    auto const* const component = prepared().componentMap().find(token);
    return component && component->readOnly;
}

bool KrXmlCompoundType::isReadOnlyAttribute(KrToken token) const {
    auto const* const attribute = prepared().attributeComponentMap().find(token);
    return attribute && attribute->readOnly;
}

KrXmlCompoundType::Maps& KrXmlCompoundType::maps() {
    if (!*maps_) {
        *maps_ = std::make_unique<Maps>();
    }
    return **maps_;
}

// Initialises the object before its first use in a document. This changes a const object,
// but not its value: only its maps and the texts of its enumerations.
KrXmlCompoundType& KrXmlCompoundType::prepared() const {
    auto& self = const_cast<KrXmlCompoundType&>(*this);
    if (!xmlInitialized()) {
        self.xmlInit();
    }
    return self;
}
