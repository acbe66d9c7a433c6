#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of scalar functions and unitary maps. They are a part of `KrFunction.h`, so that a
/// new name rebuilds this folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrCenterToken;
extern KR_EXPORT KrToken const KrCenterSlopeToken;
extern KR_EXPORT KrToken const KrDomainValuesToken;
extern KR_EXPORT KrToken const KrEndValueToken;
extern KR_EXPORT KrToken const KrExponentToken;
extern KR_EXPORT KrToken const KrFinalSlopeToken;
extern KR_EXPORT KrToken const KrInitialSlopeToken;
extern KR_EXPORT KrToken const KrLinearScalarFunctionToken;
extern KR_EXPORT KrToken const KrMultipointScalarFunctionToken;
extern KR_EXPORT KrToken const KrPowerUnitaryMapToken;
extern KR_EXPORT KrToken const KrRangeValuesToken;
extern KR_EXPORT KrToken const KrSCurveUnitaryMapToken;
extern KR_EXPORT KrToken const KrStartValueToken;

}  // namespace KrFunction
