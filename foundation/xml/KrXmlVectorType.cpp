#include "foundation/xml/KrXmlVectorType.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>

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

Growth::Growth(KrXmlReader const& reader, std::optional<KrU32> stated)
    : reader_(reader), begin_(reader.bytesRead()), expected_(stated.value_or(0)) {}

// Unused capacity of a long list costs no memory, since nothing touches its pages. An eighth
// more than expected avoids a second move of all items if later ones are shorter. The stream is
// asked once, since a pipe reports only what waits in it. An item has at least 4 bytes, so that
// the capacity stays in proportion to the document.
std::size_t Growth::room(std::size_t size) {
    constexpr std::size_t longList = 4096;
    if (expected_ == 0 && size >= longList) {
        auto const passed = static_cast<double>(reader_.bytesRead() - begin_);
        auto const left = static_cast<double>(reader_.bytesLeft());
        if (left < 15.0 * passed) {
            double const more = 1.125 * left / passed * static_cast<double>(size);
            expected_ = size + static_cast<std::size_t>(std::min(more, left / 4.0));
            return std::max(expected_, size + size / 8);
        }
    }
    std::size_t const doubled = std::max<std::size_t>(2 * size, 16);
    if (expected_ <= size) {
        return doubled;
    }
    return size >= expected_ / 8 ? expected_ : std::min(doubled, expected_);
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
