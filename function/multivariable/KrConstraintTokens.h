#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of constraints. They are a part of `KrFunction.h`, so that a new name rebuilds
/// this folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrFirstOrderCoefficientsToken;
extern KR_EXPORT KrToken const KrFirstOrderIndicesToken;
extern KR_EXPORT KrToken const KrLinearMultivariableConstraintToken;
extern KR_EXPORT KrToken const KrOffsetToken;
extern KR_EXPORT KrToken const KrQuadraticMultivariableConstraintToken;
extern KR_EXPORT KrToken const KrSecondOrderCoefficientsToken;
extern KR_EXPORT KrToken const KrSecondOrderIndexPairsToken;

}  // namespace KrFunction
