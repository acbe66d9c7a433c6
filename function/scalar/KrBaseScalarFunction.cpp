#include "function/scalar/KrBaseScalarFunction.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrBaseScalarFunction::~KrBaseScalarFunction() = default;
