#include "function/optimizer/KrScalarMultivariableOptimizer.h"

KR_SOURCE_VERSION;

KrScalarMultivariableOptimizer::~KrScalarMultivariableOptimizer() = default;
