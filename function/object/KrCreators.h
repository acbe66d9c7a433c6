#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlFactory.h"

class KrXmlBaseVariableCompoundType;

/// Which classes of each family a container or vector can create, and all of them
/// together. The source is the only file that knows every concrete element: no
/// container needs to include its elements, which may themselves hold containers.
namespace KrCreators {

/// Registers the linear function alone: a multipoint function in a container is
/// created by the reader's own factory.
KR_EXPORT void registerScalarFunctions(KrXmlBaseVariableCompoundType& holder);
/// Registers the S-curve and the power.
KR_EXPORT void registerUnitaryMaps(KrXmlBaseVariableCompoundType& holder);
/// Registers the linear and the quadratic constraint.
KR_EXPORT void registerConstraints(KrXmlBaseVariableCompoundType& holder);
/// Registers the five optimizers, the sequence among them.
KR_EXPORT void registerOptimizers(KrXmlBaseVariableCompoundType& holder);

/// Registers the elements of a composite function with `holder`.
KR_EXPORT void registerCompositeFunctions(KrXmlBaseVariableCompoundType& holder);

/// The creators of every element of the library by their tags, containers and
/// vectors among them; a client may add his own. Handed to a reader, it creates
/// elements that a container has no creator for, such as the multipoint function.
KR_EXPORT KrXmlFactory factory();

}  // namespace KrCreators
