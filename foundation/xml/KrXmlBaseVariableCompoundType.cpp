#include "foundation/xml/KrXmlBaseVariableCompoundType.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlObjectVisitor.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/internal/KrXmlCreate.h"
#include "foundation/xml/internal/KrXmlParts.h"

#include <memory>

KR_SOURCE_VERSION;

void KrXmlBaseVariableCompoundType::accept(KrXmlObjectVisitor* visitor) { visitor->visit(this); }

KrBoolean KrXmlBaseVariableCompoundType::read(KrXmlReader& reader) {
    prepare();
    KrXmlObject::read(reader);
    addLibraries_.setSpecified(false);
    bool const noAttributes = reader.refuseAttributes();
    auto const readChild = [this](KrToken const& token, KrXmlReader& from) {
        return readValueFromToken(token, from);
    };
    auto const known = [this] {
        std::vector<KrToken> tags;
        for (auto const& [token, creator] : creatorMap()) {
            tags.push_back(token);
        }
        tags.push_back(KrXml::KrAddLibrariesToken);
        return tags;
    };
    return krXmlReadChildren(reader, readChild, known) && noAttributes;
}

KrBoolean KrXmlBaseVariableCompoundType::write(KrXmlWriter& writer) const {
    prepare();
    bool const good = KrXmlObject::write(writer);
    return (addLibraries().size() == 0 ||
            krXmlWriteElement(writer, KrXml::KrAddLibrariesToken, addLibraries())) &&
           good;
}

void KrXmlBaseVariableCompoundType::writeSchema(KrXmlSchema& schema) const {
    KrXmlObject::writeSchema(schema);
    schema.startGroup(KrXmlSchema::Group::List);
    schema.element(KrXml::KrAddLibrariesToken, addLibraries());
    for (auto const& [token, creator] : creatorMap()) {
        std::unique_ptr<KrXmlObject const> const object(newObjectFromToken(token));
        if (object) {
            schema.element(token, *object);
        }
    }
    schema.endGroup();
}

void KrXmlBaseVariableCompoundType::registerComponentCreator(KrToken const& token,
                                                             KrXmlCreator creator) {
    creators_->map[token] = creator;
}

KrXmlObject* KrXmlBaseVariableCompoundType::newObjectFromToken(KrToken const& token) const {
    return krXmlCreate(creatorMap(), token);
}

KrXmlBaseVariableCompoundType::LibraryList const& KrXmlBaseVariableCompoundType::addLibraries()
    const {
    return addLibraries_;
}

void KrXmlBaseVariableCompoundType::setAddLibraries(LibraryList const& libraries) {
    addLibraries_ = libraries;
}

KrXmlCreatorMap const& KrXmlBaseVariableCompoundType::creatorMap() const {
    if (!creators_->registered) {
        // Changes a const object, but not its value.
        auto& self = const_cast<KrXmlBaseVariableCompoundType&>(*this);
        Creators& creators = *self.creators_;
        KrXmlCreatorMap kept = std::exchange(creators.map, {});  // a client's creators
        creators.registered = true;                              // the registration may use the map
        try {
            self.registerComponentCreators();
            kept.merge(creators.map);  // a client's creator replaces that of the class
        } catch (...) {
            creators.registered = false;
            creators.map.swap(kept);
            throw;
        }
        creators.map.swap(kept);
    }
    return creators_->map;
}

KrBoolean KrXmlBaseVariableCompoundType::readValueFromToken(KrToken const& token,
                                                            KrXmlReader& reader) {
    if (!(token == KrXml::KrAddLibrariesToken)) {
        return false;
    }
    if (krXmlGiveOnce(addLibraries_, reader)) {
        addLibraries_.read(reader);
        processLibraries();
    }
    return true;
}

void KrXmlBaseVariableCompoundType::processLibraries() {
    for (auto const& library : addLibraries()) {
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "library %s is not loaded: loading code is off\n",
                                    krXmlQuoted(library.value()));
    }
}

void KrXmlBaseVariableCompoundType::prepare() const {
    if (!xmlInitialized()) {
        const_cast<KrXmlBaseVariableCompoundType&>(*this).xmlInit();
    }
}
