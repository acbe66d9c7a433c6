#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The XML names of the library's elements and components. Loading the library builds them
/// once, in this order; unloading destroys them in reverse order. They never change, and are
/// the library's only global objects.
///
/// Some constants are named differently from their text: `KrIndVectorToken` is
/// "independentVector".
namespace KrFunction {

/// The namespace URI "urn:zeibreku:function#", the prefix of the names below.
extern KR_EXPORT KrToken const ns;

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrAlphaToken;
extern KR_EXPORT KrToken const KrAxisAlignedToken;
extern KR_EXPORT KrToken const KrBetaToken;
extern KR_EXPORT KrToken const KrCenterToken;
extern KR_EXPORT KrToken const KrCenterSlopeToken;
extern KR_EXPORT KrToken const KrCompositeFunctionBranchToken;
extern KR_EXPORT KrToken const KrCompositeFunctionContainerToken;
extern KR_EXPORT KrToken const KrDefaultEdgeLengthToken;
extern KR_EXPORT KrToken const KrDefaultSimplexEdgeLengthToken;
extern KR_EXPORT KrToken const KrDependentDataToken;
extern KR_EXPORT KrToken const KrDirectionsModeToken;
extern KR_EXPORT KrToken const KrDomainValuesToken;
extern KR_EXPORT KrToken const KrEdgeLengthsToken;
extern KR_EXPORT KrToken const KrEndValueToken;
extern KR_EXPORT KrToken const KrEtaToken;
extern KR_EXPORT KrToken const KrExecuteInParallelToken;
extern KR_EXPORT KrToken const KrExponentToken;
extern KR_EXPORT KrToken const KrFinalSlopeToken;
extern KR_EXPORT KrToken const KrFirstOrderCoefficientsToken;
extern KR_EXPORT KrToken const KrFirstOrderIndicesToken;
extern KR_EXPORT KrToken const KrGammaToken;
extern KR_EXPORT KrToken const KrGaussQuadratureToken;
extern KR_EXPORT KrToken const KrHookeJeevesToken;
extern KR_EXPORT KrToken const KrImplicitFilteringToken;
extern KR_EXPORT KrToken const KrIndependentDataToken;
extern KR_EXPORT KrToken const KrIndVectorToken;
extern KR_EXPORT KrToken const KrLineSearchInitialLambdaMultiplierToken;
extern KR_EXPORT KrToken const KrInitialSlopeToken;
extern KR_EXPORT KrToken const KrLinearScalarFunctionToken;
extern KR_EXPORT KrToken const KrLinearMultivariableConstraintToken;
extern KR_EXPORT KrToken const KrLineSearchAlphaToken;
extern KR_EXPORT KrToken const KrLineSearchBetaToken;
extern KR_EXPORT KrToken const KrLineSearchMaxIterationsToken;
extern KR_EXPORT KrToken const KrMultipointScalarFunctionToken;
extern KR_EXPORT KrToken const KrMaxExpansionStepsToken;
extern KR_EXPORT KrToken const KrMaxTotalStepsToken;
extern KR_EXPORT KrToken const KrMaxFunctionEvaluationsToken;
extern KR_EXPORT KrToken const KrMinTotalReductionToken;
extern KR_EXPORT KrToken const KrMultidirectionalSearchToken;
extern KR_EXPORT KrToken const KrMultivariableConstraintContainerToken;
extern KR_EXPORT KrToken const KrMultivariableConstraintVectorToken;
extern KR_EXPORT KrToken const KrNelderMeadToken;
extern KR_EXPORT KrToken const KrNoneToken;
extern KR_EXPORT KrToken const KrNumberPassesToken;
extern KR_EXPORT KrToken const KrOffsetToken;
extern KR_EXPORT KrToken const KrOptimizerContainerToken;
extern KR_EXPORT KrToken const KrOptimizerSequenceToken;
extern KR_EXPORT KrToken const KrOrderToken;
extern KR_EXPORT KrToken const KrPowerUnitaryMapToken;
extern KR_EXPORT KrToken const KrQuadraticMultivariableConstraintToken;
extern KR_EXPORT KrToken const KrRandomToken;
extern KR_EXPORT KrToken const KrRangeValuesToken;
extern KR_EXPORT KrToken const KrReductionFactorToken;
extern KR_EXPORT KrToken const KrRestartCheckPeriodToken;
extern KR_EXPORT KrToken const KrRotatedToken;
extern KR_EXPORT KrToken const KrScalarFunctionContainerToken;
extern KR_EXPORT KrToken const KrScalarMultivariableOptimizerVectorToken;
extern KR_EXPORT KrToken const KrSecondOrderCoefficientsToken;
extern KR_EXPORT KrToken const KrSecondOrderIndexPairsToken;
extern KR_EXPORT KrToken const KrSequenceOptimizerToken;
extern KR_EXPORT KrToken const KrSCurveUnitaryMapToken;
extern KR_EXPORT KrToken const KrSigmaToken;
extern KR_EXPORT KrToken const KrSimplexEdgeLengthsToken;
extern KR_EXPORT KrToken const KrSimplexScaleFactorToken;
extern KR_EXPORT KrToken const KrStartValueToken;
extern KR_EXPORT KrToken const KrStoppingThresholdToken;
extern KR_EXPORT KrToken const KrTableFunctionInterpolatorToken;
extern KR_EXPORT KrToken const KrTableFunctionVectorSearchToken;
extern KR_EXPORT KrToken const KrTauToken;
extern KR_EXPORT KrToken const KrUnitaryMapContainerToken;

/// An attribute or an enumeration text of the vector search. These have no namespace.
extern KR_EXPORT KrToken const KrIndLowerBoundaryToken;
extern KR_EXPORT KrToken const KrIndSearchToken;
extern KR_EXPORT KrToken const KrIndUpperBoundaryToken;
extern KR_EXPORT KrToken const KrBoundaryExtrapolateToken;
extern KR_EXPORT KrToken const KrBoundaryLimitToken;
extern KR_EXPORT KrToken const KrSearchBisectionToken;
extern KR_EXPORT KrToken const KrSearchEqualToken;
extern KR_EXPORT KrToken const KrSearchLinearToken;

}  // namespace KrFunction
