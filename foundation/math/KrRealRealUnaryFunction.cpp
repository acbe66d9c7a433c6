#include "foundation/math/KrRealRealUnaryFunction.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrRealRealUnaryFunction::~KrRealRealUnaryFunction() = default;
