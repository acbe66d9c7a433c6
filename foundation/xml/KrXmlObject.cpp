#include "foundation/xml/KrXmlObject.h"

#include "foundation/xml/KrXmlObjectVisitor.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <memory>

KR_SOURCE_VERSION;

KrXmlObject::~KrXmlObject() = default;

void KrXmlObject::accept(KrXmlObjectVisitor* visitor) { visitor->visit(this); }

void KrXmlObject::xmlInit() {
    setXmlInitialized(true);
    setSpecified(false);
}

KrBoolean KrXmlObject::read(KrXmlReader&) {
    setSpecified(true);
    return true;
}

KrBoolean KrXmlObject::readAttribute(KrXmlReader& reader) { return reader.refuseAttribute(); }

KrBoolean KrXmlObject::write(KrXmlWriter& writer) const { return writer.good(); }

void KrXmlObject::writeSchema(KrXmlSchema&) const {}

KrBoolean KrXmlObject::createSchema(std::string const& path, KrToken const& root) const {
    KrXmlSchema schema(std::string(root.namespaceUri()));
    schema.element(root, *this);
    return schema.writeFile(path);
}

bool KrXmlObject::xmlInitialized() const { return xmlInitialized_; }

void KrXmlObject::setXmlInitialized(bool initialized) { xmlInitialized_ = initialized; }

bool KrXmlObject::specified() const { return specified_; }

void KrXmlObject::setSpecified(bool specified) { specified_ = specified; }

bool KrXmlObject::isBasicType() const { return false; }

bool KrXmlObject::equalsDefault() const {
    std::unique_ptr<KrXmlObject const> const fresh(newObject());
    return equality(fresh.get());
}
