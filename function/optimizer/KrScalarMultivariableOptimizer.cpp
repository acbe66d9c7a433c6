#include "function/optimizer/KrScalarMultivariableOptimizer.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrScalarMultivariableOptimizer::~KrScalarMultivariableOptimizer() = default;
