#include "foundation/xml/KrXmlFactory.h"

#include "foundation/xml/internal/KrXmlCreate.h"

KR_SOURCE_VERSION;

KrXmlObject* KrXmlFactory::newObjectFromToken(KrToken const& token) const {
    return krXmlCreate(creators_, token);
}
