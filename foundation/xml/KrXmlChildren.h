#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlWriter.h"

/// The loop over an element's children that all objects with children share.
/// `readChild(token, reader)` takes one child, on whose start tag the reader
/// stands; what it leaves of the child is passed over. A child that it answers
/// false for without saying why is refused as unknown, and so is text; the message
/// lists `known`. True when every child was taken and there was nothing else.
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

/// Writes `object` as a whole element: `tag` around its content.
inline KrBoolean krXmlWriteElement(KrXmlWriter& writer, KrToken const& tag,
                                   KrXmlObject const& object) {
    writer.startElement(tag);
    bool const good = object.write(writer);
    writer.endElement();
    return good;
}
