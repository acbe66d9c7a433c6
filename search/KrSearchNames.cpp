#include "search/KrSearchNames.h"

#include "foundation/xml/KrXmlTokens.h"

KR_SOURCE_VERSION;

// After the tokens of `KrFunction`, also in a program that is linked statically.
#define KR_EARLY [[gnu::init_priority(202)]]

namespace KrSearchNames {

// A token of this file. If it were that of `KrFunction`, the address sanitizer would report an
// access to an object of another file, whatever the order of initialisation.
KR_EARLY static KrToken const ns(KrXml::namespaceUri);

KR_EARLY KrToken const KrSearchToken = ns + "search";
KR_EARLY KrToken const KrSearchReportToken = ns + "searchReport";
KR_EARLY KrToken const KrVariableToken = ns + "variable";
KR_EARLY KrToken const KrVariablesToken = ns + "variables";

KR_EARLY KrToken const KrAnswerToken = ns + "answer";
KR_EARLY KrToken const KrAnswerPointToken = ns + "answerPoint";
KR_EARLY KrToken const KrBestPointToken = ns + "bestPoint";
KR_EARLY KrToken const KrBestValueToken = ns + "bestValue";
KR_EARLY KrToken const KrConstraintsToken = ns + "constraints";
KR_EARLY KrToken const KrConstraintWeightToken = ns + "constraintWeight";
KR_EARLY KrToken const KrEvaluationsToken = ns + "evaluations";
KR_EARLY KrToken const KrEvaluationsFromRecordToken = ns + "evaluationsFromRecord";
KR_EARLY KrToken const KrEvaluationsMadeToken = ns + "evaluationsMade";
KR_EARLY KrToken const KrEvaluationsSpeculatedToken = ns + "evaluationsSpeculated";
KR_EARLY KrToken const KrFailuresToken = ns + "failures";
KR_EARLY KrToken const KrFailureValueToken = ns + "failureValue";
KR_EARLY KrToken const KrLowerToken = ns + "lower";
KR_EARLY KrToken const KrMaxEvaluationsToken = ns + "maxEvaluations";
KR_EARLY KrToken const KrMaximiseToken = ns + "maximise";
KR_EARLY KrToken const KrMaxSecondsToken = ns + "maxSeconds";
KR_EARLY KrToken const KrNameToken = ns + "name";
KR_EARLY KrToken const KrOptimizerToken = ns + "optimizer";
KR_EARLY KrToken const KrReasonToken = ns + "reason";
KR_EARLY KrToken const KrRememberToken = ns + "remember";
KR_EARLY KrToken const KrScaleToken = ns + "scale";
KR_EARLY KrToken const KrSecondsToken = ns + "seconds";
KR_EARLY KrToken const KrSeedToken = ns + "seed";
KR_EARLY KrToken const KrStallEvaluationsToken = ns + "stallEvaluations";
KR_EARLY KrToken const KrStallImprovementToken = ns + "stallImprovement";
KR_EARLY KrToken const KrStartToken = ns + "start";
KR_EARLY KrToken const KrTargetValueToken = ns + "targetValue";
KR_EARLY KrToken const KrUpperToken = ns + "upper";

}  // namespace KrSearchNames
