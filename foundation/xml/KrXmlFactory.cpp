#include "foundation/xml/KrXmlFactory.h"

KR_SOURCE_VERSION;

KrXmlObject* krXmlCreate(KrXmlCreatorMap const& creators, KrToken const& token) {
    auto const entry = creators.find(token);
    return entry != creators.end() && entry->second ? entry->second() : nullptr;
}

KrXmlObject* KrXmlFactory::newObjectFromToken(KrToken const& token) const {
    return krXmlCreate(creators_, token);
}
