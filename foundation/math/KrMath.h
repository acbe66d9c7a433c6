#pragma once

#include "foundation/core/KrExport.h"

/// Elementary operations that the library's algorithms name.
class KR_EXPORT KrMath {
public:
    KrMath() = delete;

    /// The square root of `x`, correctly rounded; NaN for negative `x`.
    static double sqrt(double x);

    /// A strictly positive divisor: `x` when x > 1e-300, otherwise 1e-300 (for
    /// NaN too).
    static double nonZeroPos(double x) { return x > 1e-300 ? x : 1e-300; }

    /// Uniform in [0, 1), the next value of the stream of `KrRandom`.
    static double unifRand();
};
