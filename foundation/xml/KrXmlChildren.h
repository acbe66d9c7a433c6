#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlWriter.h"

/// Reads the children of an element. `readChild(token, reader)` reads one child, on whose
/// start tag the reader stands; what it leaves unread is skipped. If it returns false without
/// a message, the child is refused as unknown, and the message lists `known`. Text between
/// the children is refused too. True if everything was read and nothing was refused.
template <class ReadChild>
KrBoolean krXmlReadChildren(KrXmlReader& reader, ReadChild readChild,
                            KrXmlReader::KnownTags const& known = {}) {
    bool good = true;
    for (;;) {
        std::size_t errors = reader.errorCount();
        bool const more = reader.nextChild(known);
        good = good && reader.errorCount() == errors;  // text between the children
        errors = reader.errorCount();
        if (!more) {
            return good && !reader.malformed();
        }
        std::size_t const depth = reader.depth();
        KrToken const& token = reader.token();
        if (!readChild(token, reader)) {
            good = false;
            if (reader.errorCount() == errors) {
                reader.refuseElement(known);
            }
        }
        reader.close(depth);
    }
}

/// Writes `object` as an element: `tag` around its content.
inline KrBoolean krXmlWriteElement(KrXmlWriter& writer, KrToken const& tag,
                                   KrXmlObject const& object) {
    writer.startElement(tag);
    bool const good = object.write(writer);
    writer.endElement();
    return good;
}
