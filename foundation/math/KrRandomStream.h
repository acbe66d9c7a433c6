#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// A stream of random numbers as a plain value: it is made from a seed, copied, compared
/// and put back, and its copies go on alike. For a calculation that repeats whatever
/// else draws, such as one of several threads:
///
///     KrRandomStream stream(7);
///     KrRandomScope const scope(stream);  // KrRandom draws from it now, on this thread
///
/// A seed gives the same values to the last bit on every machine: the engine is that of
/// `std::mt19937_64`, laid down by the C++ standard, and the conversions below, unlike
/// the standard's distributions, use sums, products, quotients and square roots alone.
///
/// One object is for one thread at a time. It takes 2.5 KB.
class KR_EXPORT KrRandomStream {
public:
    /// Starts at the beginning of the stream of `seed`, any number. 5489 is that of
    /// `KrRandom` until it is seeded.
    explicit KrRandomStream(KrU32 seed = 5489) { this->seed(seed); }

    /// Starts again, at the beginning of the stream of `seed`.
    void seed(KrU32 seed);

    /// `count` independent values of the normal distribution with the given
    /// mean and standard deviation: mean + standardDeviation * z, each z by the ziggurat
    /// of 256 layers (G. Marsaglia and W. W. Tsang, Journal of Statistical Software 5
    /// (2000)). A value takes one draw from the engine, but 1.5 % of them take two to
    /// five.
    KrRealVector normalRandoms(double mean, double standardDeviation, KrU32 count);

    /// low + (high - low) * u with u uniform in [0, 1) in steps of 2^-53; one
    /// draw from the engine.
    double uniformRealRandom(double low, double high);

    /// Whether both give the same values from now on.
    bool operator==(KrRandomStream const&) const = default;

private:
    static constexpr std::size_t size = 312;

    class Ziggurat;

    void refill();
    void twist(std::size_t i, std::size_t following, std::size_t shifted);
    std::uint64_t draw();
    double uniform();
    double normal(Ziggurat const& layers);
    bool accepts(Ziggurat const& layers, std::size_t layer, double x);
    bool tail(double& x);

    std::array<std::uint64_t, size> state_;
    std::size_t next_ = size;
};
