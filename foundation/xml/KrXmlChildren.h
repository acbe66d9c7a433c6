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

/// Marks `part` as specified by the child on which the reader stands; when an earlier
/// child has done so, refuses this one and is false.
inline KrBoolean krXmlGiveOnce(KrXmlObject& part, KrXmlReader& reader) {
    if (part.specified()) {
        return reader.refuse("each component once",
                             "a second " + krXmlQuoted(reader.token().localName()));
    }
    part.setSpecified(true);
    return true;
}

/// Whether the current element, which the reader has read to its end, can be written
/// with `part`, which the document left out, under `tag`. If that would nest deeper than
/// readers take, refuses the element. Only elements in the deeper half of what the
/// reader takes are looked at: the others have room for any default.
KR_EXPORT KrBoolean krXmlHasRoomFor(KrToken const& tag, KrXmlObject const& part,
                                    KrXmlReader& reader);

/// Writes `object` as a whole element: `tag` around its content.
inline KrBoolean krXmlWriteElement(KrXmlWriter& writer, KrToken const& tag,
                                   KrXmlObject const& object) {
    writer.startElement(tag);
    bool const good = object.write(writer);
    writer.endElement();
    return good;
}
