#include "search/KrEvaluation.h"

KR_SOURCE_VERSION;

KrEvaluationFailure::~KrEvaluationFailure() = default;
