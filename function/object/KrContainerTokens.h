#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of containers and vectors. They are a part of `KrFunction.h`, so that a new name
/// rebuilds this folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrMultivariableConstraintContainerToken;
extern KR_EXPORT KrToken const KrMultivariableConstraintVectorToken;
extern KR_EXPORT KrToken const KrOptimizerContainerToken;
extern KR_EXPORT KrToken const KrScalarFunctionContainerToken;
extern KR_EXPORT KrToken const KrScalarMultivariableOptimizerVectorToken;
extern KR_EXPORT KrToken const KrUnitaryMapContainerToken;

}  // namespace KrFunction
