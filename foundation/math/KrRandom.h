#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

/// The one random stream of the process: that of `std::mt19937_64`, seeded with 5489
/// until `seed` is called, shared by all users and safe to use from several
/// threads (which then share the one sequence).
///
/// A seed gives the same values to the last bit on every machine: the engine is
/// laid down by the C++ standard, and the conversions below, unlike the
/// standard's distributions, use comparisons, sums and products alone.
class KR_EXPORT KrRandom {
public:
    KrRandom() = delete;

    /// Restarts the stream from `seed`.
    static void seed(KrU32 seed);

    /// `count` independent values of the normal distribution with the given
    /// mean and standard deviation: mean + standardDeviation * z, each z by
    /// C. F. F. Karney, "Sampling exactly from the normal distribution", ACM
    /// Transactions on Mathematical Software 42 (2016), algorithm N. A value
    /// takes about sixteen draws from the engine; their number varies.
    static KrRealVector normalRandoms(double mean, double standardDeviation, KrU32 count);

    /// low + (high - low) * u with u uniform in [0, 1) in steps of 2^-53; one
    /// draw from the engine.
    static double uniformRealRandom(double low, double high);
};
