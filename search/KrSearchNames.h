#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

/// The XML names of searches. They are built after those of `KrFunction`, when the library is
/// loaded, and never change. Their namespace is that of `KrFunction`.
namespace KrSearchNames {

/// An element.
extern KR_EXPORT KrToken const KrSearchToken;
extern KR_EXPORT KrToken const KrSearchReportToken;
extern KR_EXPORT KrToken const KrVariableToken;
extern KR_EXPORT KrToken const KrVariablesToken;

/// A component.
extern KR_EXPORT KrToken const KrAnswerToken;
extern KR_EXPORT KrToken const KrAnswerPointToken;
extern KR_EXPORT KrToken const KrBestPointToken;
extern KR_EXPORT KrToken const KrBestValueToken;
extern KR_EXPORT KrToken const KrConstraintsToken;
extern KR_EXPORT KrToken const KrConstraintWeightToken;
extern KR_EXPORT KrToken const KrEvaluationsToken;
extern KR_EXPORT KrToken const KrEvaluationsFromRecordToken;
extern KR_EXPORT KrToken const KrEvaluationsMadeToken;
extern KR_EXPORT KrToken const KrEvaluationsSpeculatedToken;
extern KR_EXPORT KrToken const KrFailuresToken;
extern KR_EXPORT KrToken const KrFailureValueToken;
extern KR_EXPORT KrToken const KrLowerToken;
extern KR_EXPORT KrToken const KrMaxEvaluationsToken;
extern KR_EXPORT KrToken const KrMaximiseToken;
extern KR_EXPORT KrToken const KrMaxSecondsToken;
extern KR_EXPORT KrToken const KrNameToken;
extern KR_EXPORT KrToken const KrOptimizerToken;
extern KR_EXPORT KrToken const KrReasonToken;
extern KR_EXPORT KrToken const KrRememberToken;
extern KR_EXPORT KrToken const KrScaleToken;
extern KR_EXPORT KrToken const KrSecondsToken;
extern KR_EXPORT KrToken const KrSeedToken;
extern KR_EXPORT KrToken const KrStallEvaluationsToken;
extern KR_EXPORT KrToken const KrStallImprovementToken;
extern KR_EXPORT KrToken const KrStartToken;
extern KR_EXPORT KrToken const KrTargetValueToken;
extern KR_EXPORT KrToken const KrUpperToken;

}  // namespace KrSearchNames
