#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlReader.h"

/// Marks `part` as specified by the child on which the reader stands. If an earlier
/// child has specified it, refuses this one and returns false.
inline KrBoolean krXmlGiveOnce(KrXmlObject& part, KrXmlReader& reader) {
    if (part.specified()) {
        return reader.refuse("each component once",
                             "a second " + krXmlQuoted(reader.token().localName()));
    }
    part.setSpecified(true);
    return true;
}

/// Whether the current element, which the reader has read to its end, can be written
/// with the default of `part` under `tag`. If that nests deeper than readers take, refuses
/// the element. Only an element in the deeper half of the limit is examined: no default
/// takes as many levels as the other half has.
KrBoolean krXmlHasRoomFor(KrToken const& tag, KrXmlObject const& part, KrXmlReader& reader);
