#include "search/KrSearchNames.h"

#include "function/object/KrFunction.h"

KR_SOURCE_VERSION;

// After the tokens of `KrFunction`, also in a program that is linked statically.
#define KR_EARLY [[gnu::init_priority(202)]]

namespace KrSearchNames {

KR_EARLY KrToken const KrSearchToken = KrFunction::ns + "search";
KR_EARLY KrToken const KrSearchReportToken = KrFunction::ns + "searchReport";
KR_EARLY KrToken const KrVariableToken = KrFunction::ns + "variable";
KR_EARLY KrToken const KrVariablesToken = KrFunction::ns + "variables";

KR_EARLY KrToken const KrAnswerToken = KrFunction::ns + "answer";
KR_EARLY KrToken const KrAnswerPointToken = KrFunction::ns + "answerPoint";
KR_EARLY KrToken const KrBestPointToken = KrFunction::ns + "bestPoint";
KR_EARLY KrToken const KrBestValueToken = KrFunction::ns + "bestValue";
KR_EARLY KrToken const KrConstraintsToken = KrFunction::ns + "constraints";
KR_EARLY KrToken const KrConstraintWeightToken = KrFunction::ns + "constraintWeight";
KR_EARLY KrToken const KrEvaluationsToken = KrFunction::ns + "evaluations";
KR_EARLY KrToken const KrEvaluationsFromRecordToken = KrFunction::ns + "evaluationsFromRecord";
KR_EARLY KrToken const KrEvaluationsMadeToken = KrFunction::ns + "evaluationsMade";
KR_EARLY KrToken const KrEvaluationsSpeculatedToken = KrFunction::ns + "evaluationsSpeculated";
KR_EARLY KrToken const KrFailuresToken = KrFunction::ns + "failures";
KR_EARLY KrToken const KrFailureValueToken = KrFunction::ns + "failureValue";
KR_EARLY KrToken const KrLowerToken = KrFunction::ns + "lower";
KR_EARLY KrToken const KrMaxEvaluationsToken = KrFunction::ns + "maxEvaluations";
KR_EARLY KrToken const KrMaximiseToken = KrFunction::ns + "maximise";
KR_EARLY KrToken const KrMaxSecondsToken = KrFunction::ns + "maxSeconds";
KR_EARLY KrToken const KrNameToken = KrFunction::ns + "name";
KR_EARLY KrToken const KrOptimizerToken = KrFunction::ns + "optimizer";
KR_EARLY KrToken const KrReasonToken = KrFunction::ns + "reason";
KR_EARLY KrToken const KrRememberToken = KrFunction::ns + "remember";
KR_EARLY KrToken const KrScaleToken = KrFunction::ns + "scale";
KR_EARLY KrToken const KrSecondsToken = KrFunction::ns + "seconds";
KR_EARLY KrToken const KrSeedToken = KrFunction::ns + "seed";
KR_EARLY KrToken const KrStallEvaluationsToken = KrFunction::ns + "stallEvaluations";
KR_EARLY KrToken const KrStallImprovementToken = KrFunction::ns + "stallImprovement";
KR_EARLY KrToken const KrStartToken = KrFunction::ns + "start";
KR_EARLY KrToken const KrTargetValueToken = KrFunction::ns + "targetValue";
KR_EARLY KrToken const KrUpperToken = KrFunction::ns + "upper";

}  // namespace KrSearchNames
