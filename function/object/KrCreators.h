#pragma once

#include "foundation/core/KrExport.h"

class KrXmlBaseVariableCompoundType;

/// Which classes of each family a container or vector can create, in one place:
/// the source is the only file that knows every concrete element, so that no
/// container needs to include its elements, which may themselves hold containers.
namespace KrCreators {

/// Registers the optimizers with `holder`, in the order of their tags in
/// documents' schemas.
KR_EXPORT void registerOptimizers(KrXmlBaseVariableCompoundType& holder);

}  // namespace KrCreators
