#include "foundation/math/KrMath.h"

#include "foundation/math/KrRandom.h"

#include <cmath>

KR_SOURCE_VERSION;

double KrMath::sqrt(double x) { return std::sqrt(x); }

double KrMath::unifRand() { return KrRandom::uniformRealRandom(0.0, 1.0); }
