#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlFactory.h"

/// The classes of this library that documents hold.
namespace KrSearchCreators {

/// Returns the factory of `KrCreators`, extended by the elements of searches. You may register your
/// own elements in it.
KR_EXPORT KrXmlFactory factory();

}  // namespace KrSearchCreators
