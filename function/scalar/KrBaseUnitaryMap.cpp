#include "function/scalar/KrBaseUnitaryMap.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrBaseUnitaryMap::~KrBaseUnitaryMap() = default;
