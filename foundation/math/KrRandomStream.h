#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <array>
#include <cstddef>
#include <cstdint>

/// A stream of random numbers as a plain value, made from a seed. You can copy, compare and
/// assign it; a copy continues with the same numbers. Use one for a calculation that must
/// repeat whatever other code draws, such as one of several threads:
///
///     KrRandomStream stream(7);
///     KrRandomScope const scope(stream);  // KrRandom draws from it now, on this thread
///
/// A seed gives bit-identical values on every machine. The engine is that of
/// `std::mt19937_64`, which the C++ standard defines. The conversions below, unlike the
/// standard's distributions, use only sums, products, quotients and square roots.
///
/// An object is not thread-safe. It takes 2.5 KB.
class KR_EXPORT KrRandomStream {
public:
    /// Starts the stream of `seed`, any number. The default is that of `KrRandom` before it
    /// is seeded.
    explicit KrRandomStream(KrU32 seed = 5489) { this->seed(seed); }

    /// Restarts with the stream of `seed`.
    void seed(KrU32 seed);

    /// `count` independent values of the normal distribution with the given mean and
    /// standard deviation: mean + standardDeviation * z. Each z comes from a ziggurat of 256
    /// layers (G. Marsaglia and W. W. Tsang, Journal of Statistical Software 5 (2000)). A
    /// value takes one draw from the engine; 1.5 % of the values take two to five.
    KrRealVector normalRandoms(double mean, double standardDeviation, KrU32 count);

    /// low + (high - low) * u with u uniform in [0, 1) in steps of 2^-53. Takes one draw
    /// from the engine.
    double uniformRealRandom(double low, double high);

    /// Whether both continue with the same values.
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
