#include "foundation/xml/KrXmlVectorType.h"

#include "foundation/core/KrPrint.h"

KR_SOURCE_VERSION;

namespace KrXmlVector {

KrBoolean readCount(KrXmlReader& reader, std::optional<KrU32>& count) {
    bool good = true;
    while (reader.nextAttribute()) {
        KrXmlBasicType<KrU32> value;
        if (!(reader.attributeName() == KrXml::KrCountToken)) {
            good = reader.refuseAttribute();
        } else if (value.readAttribute(reader)) {
            count = value.value();
        } else {
            good = false;
        }
    }
    return good;
}

void writeCount(KrXmlWriter& writer, KrU32 count) {
    writer.startAttribute(KrXml::KrCountToken);
    KrXmlBasicType<KrU32>(count).write(writer);
    writer.endAttribute();
}

void writeSchema(KrXmlSchema& schema, KrXmlObject const& item) {
    schema.startGroup(KrXmlSchema::Group::List);
    schema.element(item.token(), item);
    schema.endGroup();
    schema.attribute(KrXml::KrCountToken, KrXmlBasicType<KrU32>());
}

void reportWrongMode() {
    Kr::Print::instance().write(Kr::PrintType::Error,
                                "KrXmlVectorType Error: XML parser should be in data mode\n");
}

void reportCount(KrU32 stated, std::size_t actual) {
    Kr::Print::instance().write(
        Kr::PrintType::Warning,
        "KrXmlVectorType Error: array size not equal to attribute value -- %u, actual -- %u",
        stated, actual);
}

}  // namespace KrXmlVector
