#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

// The framework's own names in documents. KrXml.h has the operations on whole documents.
namespace KrXml {

/// The namespace of all elements, "urn:zeibreku:function#".
extern KR_EXPORT char const namespaceUri[];

extern KR_EXPORT KrToken const KrCountToken;         ///< attribute "count", no namespace
extern KR_EXPORT KrToken const KrAddLibrariesToken;  ///< element "addLibraries"
extern KR_EXPORT KrToken const KrItemToken;          ///< element "item" of a vector
extern KR_EXPORT KrToken const KrFirstToken;         ///< element "first" of a pair
extern KR_EXPORT KrToken const KrSecondToken;        ///< element "second" of a pair

}  // namespace KrXml
