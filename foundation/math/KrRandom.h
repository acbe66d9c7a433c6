#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

/// The random numbers of the library: a `KrRandomStream` that all of the process shares,
/// or inside a `KrRandomScope` the one that it installs for its thread.
///
/// The shared stream is that of the seed 5489 until `seed` is called. It may be used from
/// several threads, which then share one sequence: what each draws does not repeat. Give
/// each a stream of its own for that.
class KR_EXPORT KrRandom {
public:
    KrRandom() = delete;

    /// Starts the stream again, at the beginning of that of `seed`.
    static void seed(KrU32 seed);

    /// `KrRandomStream::normalRandoms` of the stream.
    static KrRealVector normalRandoms(double mean, double standardDeviation, KrU32 count);

    /// `KrRandomStream::uniformRealRandom` of the stream.
    static double uniformRealRandom(double low, double high);
};
