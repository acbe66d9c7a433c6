#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlFactory.h"

class KrXmlBaseVariableCompoundType;

/// The classes of each family that containers and vectors create, and a factory of all of
/// them. Only its source includes every concrete element. Containers do not include their
/// elements, which may hold containers themselves.
namespace KrCreators {

/// Registers the linear function only. Reading a multipoint function in a container needs a
/// factory.
KR_EXPORT void registerScalarFunctions(KrXmlBaseVariableCompoundType& holder);
/// Registers the S-curve and the power map.
KR_EXPORT void registerUnitaryMaps(KrXmlBaseVariableCompoundType& holder);
/// Registers the linear and the quadratic constraint.
KR_EXPORT void registerConstraints(KrXmlBaseVariableCompoundType& holder);
/// Registers the five optimizers, including the sequence.
KR_EXPORT void registerOptimizers(KrXmlBaseVariableCompoundType& holder);

/// Registers the table and the branch of composite functions.
KR_EXPORT void registerCompositeFunctions(KrXmlBaseVariableCompoundType& holder);

/// Returns a factory of every element of this library by tag, including containers and vectors.
/// You may register your own elements in it. Pass it to a reader to read elements that a
/// container does not create itself, such as the multipoint function.
KR_EXPORT KrXmlFactory factory();

}  // namespace KrCreators
