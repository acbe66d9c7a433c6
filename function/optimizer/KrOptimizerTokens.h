#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The names of optimizers. They are a part of `KrFunction.h`, so that a new name rebuilds this
/// folder and its users, not the whole library.
namespace KrFunction {

/// An element, a component, or the text of an enumeration.
extern KR_EXPORT KrToken const KrAlphaToken;
extern KR_EXPORT KrToken const KrAxisAlignedToken;
extern KR_EXPORT KrToken const KrBetaToken;
extern KR_EXPORT KrToken const KrDefaultEdgeLengthToken;
extern KR_EXPORT KrToken const KrDefaultSimplexEdgeLengthToken;
extern KR_EXPORT KrToken const KrDirectionsModeToken;
extern KR_EXPORT KrToken const KrEdgeLengthsToken;
extern KR_EXPORT KrToken const KrEtaToken;
extern KR_EXPORT KrToken const KrExecuteInParallelToken;
extern KR_EXPORT KrToken const KrGammaToken;
extern KR_EXPORT KrToken const KrHookeJeevesToken;
extern KR_EXPORT KrToken const KrImplicitFilteringToken;
extern KR_EXPORT KrToken const KrLineSearchInitialLambdaMultiplierToken;
extern KR_EXPORT KrToken const KrLineSearchAlphaToken;
extern KR_EXPORT KrToken const KrLineSearchBetaToken;
extern KR_EXPORT KrToken const KrLineSearchMaxIterationsToken;
extern KR_EXPORT KrToken const KrMaxExpansionStepsToken;
extern KR_EXPORT KrToken const KrMaxTotalStepsToken;
extern KR_EXPORT KrToken const KrMaxFunctionEvaluationsToken;
extern KR_EXPORT KrToken const KrMinTotalReductionToken;
extern KR_EXPORT KrToken const KrMultidirectionalSearchToken;
extern KR_EXPORT KrToken const KrNelderMeadToken;
extern KR_EXPORT KrToken const KrNoneToken;
extern KR_EXPORT KrToken const KrNumberPassesToken;
extern KR_EXPORT KrToken const KrOptimizerSequenceToken;
extern KR_EXPORT KrToken const KrRandomToken;
extern KR_EXPORT KrToken const KrReductionFactorToken;
extern KR_EXPORT KrToken const KrRestartCheckPeriodToken;
extern KR_EXPORT KrToken const KrRotatedToken;
extern KR_EXPORT KrToken const KrSequenceOptimizerToken;
extern KR_EXPORT KrToken const KrSigmaToken;
extern KR_EXPORT KrToken const KrSimplexEdgeLengthsToken;
extern KR_EXPORT KrToken const KrSimplexScaleFactorToken;
extern KR_EXPORT KrToken const KrStoppingThresholdToken;
extern KR_EXPORT KrToken const KrTauToken;

}  // namespace KrFunction
