#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

/// The random numbers of the library. They come from the `KrRandomStream` of the innermost
/// `KrRandomScope` of the thread, else from one stream that the whole process shares.
///
/// The shared stream has the seed 5489 until `seed` is called. It is thread-safe, but the
/// threads share one sequence, so that what each of them draws depends on the others. For
/// repeatable numbers, give each thread a stream of its own.
class KR_EXPORT KrRandom {
public:
    KrRandom() = delete;

    /// Restarts the stream with `seed`.
    static void seed(KrU32 seed);

    /// Draws by `KrRandomStream::normalRandoms` of the stream.
    static KrRealVector normalRandoms(double mean, double standardDeviation, KrU32 count);

    /// Draws by `KrRandomStream::uniformRealRandom` of the stream.
    static double uniformRealRandom(double low, double high);
};
