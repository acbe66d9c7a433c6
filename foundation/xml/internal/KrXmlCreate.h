#pragma once

#include "foundation/xml/KrXmlFactory.h"

/// A new object from the creator registered for `token`, null if there is none.
inline KrXmlObject* krXmlCreate(KrXmlCreatorMap const& creators, KrToken const& token) {
    auto const entry = creators.find(token);
    return entry != creators.end() && entry->second ? entry->second() : nullptr;
}
