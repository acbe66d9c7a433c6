#include "search/KrEvaluationWorkers.h"

KR_SOURCE_VERSION;

KrEvaluationWorkers::~KrEvaluationWorkers() = default;
