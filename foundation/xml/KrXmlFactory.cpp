#include "foundation/xml/KrXmlFactory.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrXmlObject* krXmlCreate(KrXmlCreatorMap const& creators, KrToken const& token) {
    auto const entry = creators.find(token);
    return entry != creators.end() && entry->second ? entry->second() : nullptr;
}

KrXmlObject* KrXmlFactory::newObjectFromToken(KrToken const& token) const {
    return krXmlCreate(creators_, token);
}
