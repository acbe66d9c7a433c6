#include "foundation/xml/KrXmlPairType.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/internal/KrXmlParts.h"

KR_SOURCE_VERSION;

namespace {

void refusePart(KrXmlReader const& reader) {
    Kr::Print::instance().write(
        Kr::PrintType::Error,
        "KrXmlPairType Error: file not valid.\n\tFormat not correct.\n\tFile: %s\n\tLine: %u"
        "\tExpected %s or %s",
        reader.fileName(), reader.line(), KrXml::KrFirstToken.c_str(),
        KrXml::KrSecondToken.c_str());
}

}  // namespace

namespace KrXmlPair {

KrBoolean read(KrXmlReader& reader, KrXmlObject& first, KrXmlObject& second) {
    bool const noAttributes = reader.refuseAttributes();
    auto const readPart = [&](KrToken const& token, KrXmlReader& from) {
        KrXmlObject* const part = token == KrXml::KrFirstToken    ? &first
                                  : token == KrXml::KrSecondToken ? &second
                                                                  : nullptr;
        if (!part) {
            refusePart(from);
        }
        return part && krXmlGiveOnce(*part, from) && part->read(from);
    };
    auto const known = [] { return std::vector{KrXml::KrFirstToken, KrXml::KrSecondToken}; };
    bool const partsRead = krXmlReadChildren(reader, readPart, known);
    auto const hasRoom = [&](KrToken const& tag, KrXmlObject const& part) {
        return part.specified() || krXmlHasRoomFor(tag, part, reader);
    };
    return partsRead && noAttributes && hasRoom(KrXml::KrFirstToken, first) &&
           hasRoom(KrXml::KrSecondToken, second);
}

KrBoolean write(KrXmlWriter& writer, KrXmlObject const& first, KrXmlObject const& second) {
    bool const firstWritten = krXmlWriteElement(writer, KrXml::KrFirstToken, first);
    return krXmlWriteElement(writer, KrXml::KrSecondToken, second) && firstWritten;
}

void writeSchema(KrXmlSchema& schema, KrXmlObject const& first, KrXmlObject const& second) {
    schema.startGroup(KrXmlSchema::Group::All);
    schema.element(KrXml::KrFirstToken, first);
    schema.element(KrXml::KrSecondToken, second);
    schema.endGroup();
}

}  // namespace KrXmlPair
