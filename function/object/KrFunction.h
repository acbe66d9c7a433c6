#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "function/composite/KrCompositeTokens.h"
#include "function/multivariable/KrConstraintTokens.h"
#include "function/object/KrContainerTokens.h"
#include "function/optimizer/KrOptimizerTokens.h"
#include "function/scalar/KrScalarTokens.h"
#include "function/tools/KrToolTokens.h"

/// The XML names of the library's elements and components. Loading the library builds them
/// once, in this order; unloading destroys them in reverse order. They never change, and are
/// the library's only global objects.
///
/// Some constants are named differently from their text: `KrIndVectorToken` is
/// "independentVector". The header of each folder declares that folder's names.
namespace KrFunction {

/// The namespace URI "urn:zeibreku:function#", the prefix of the names.
extern KR_EXPORT KrToken const ns;

}  // namespace KrFunction
