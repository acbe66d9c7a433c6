#pragma once

#include "foundation/core/KrExport.h"

class KrXmlBaseVariableCompoundType;

/// Which classes of each family a container or vector can create, in one place:
/// the source is the only file that knows every concrete element, so that no
/// container needs to include its elements, which may themselves hold containers.
namespace KrCreators {

// Each registers the classes of one family with `holder`.

/// The linear function alone: a multipoint function in a container is created by
/// the reader's own factory.
KR_EXPORT void registerScalarFunctions(KrXmlBaseVariableCompoundType& holder);
KR_EXPORT void registerUnitaryMaps(KrXmlBaseVariableCompoundType& holder);
KR_EXPORT void registerConstraints(KrXmlBaseVariableCompoundType& holder);
KR_EXPORT void registerOptimizers(KrXmlBaseVariableCompoundType& holder);

/// Registers the elements of a composite function with `holder`.
KR_EXPORT void registerCompositeFunctions(KrXmlBaseVariableCompoundType& holder);

}  // namespace KrCreators
