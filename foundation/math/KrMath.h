#pragma once

#include "foundation/core/KrExport.h"

/// The elementary operations of the library's algorithms.
class KR_EXPORT KrMath {
public:
    KrMath() = delete;

    /// The square root of `x`, correctly rounded. NaN for a negative `x`.
    static double sqrt(double x);

    /// `x` if x > 1e-300, otherwise (also for NaN) 1e-300: a divisor that is never zero.
    static double nonZeroPos(double x) { return x > 1e-300 ? x : 1e-300; }

    /// The next value of the stream of `KrRandom`, uniform in [0, 1).
    static double unifRand();
};
