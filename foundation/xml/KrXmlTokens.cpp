#include "foundation/xml/KrXmlTokens.h"

// In a statically linked program, these tokens exist before everything that uses them.
#define KR_EARLY [[gnu::init_priority(200)]]

namespace KrXml {

char const namespaceUri[] = "urn:zeibreku:function#";

KR_SOURCE_VERSION;

namespace {

KR_EARLY KrToken const ns(namespaceUri);

}  // namespace

KR_EARLY KrToken const KrCountToken("count");
KR_EARLY KrToken const KrAddLibrariesToken = ns + "addLibraries";
KR_EARLY KrToken const KrItemToken = ns + "item";
KR_EARLY KrToken const KrFirstToken = ns + "first";
KR_EARLY KrToken const KrSecondToken = ns + "second";

}  // namespace KrXml
