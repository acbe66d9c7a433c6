#include "foundation/math/KrRandomStream.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

constexpr std::int64_t half = std::int64_t{1} << 52;  // in steps

// Whether a trial comes true `times` times over.
template <class Trial>
bool all(int times, Trial trial) {
    for (int i = 0; i < times; ++i) {
        if (!trial()) {
            return false;
        }
    }
    return true;
}

}  // namespace

// The engine is std::mt19937_64 (M. Matsumoto and T. Nishimura, ACM Transactions on
// Modeling and Computer Simulation 8 (1998); the constants are the C++ standard's) at
// about twice the speed of a library that branches on a bit which is random.
void KrRandomStream::seed(KrU32 seed) {
    std::uint64_t value = seed;
    for (std::size_t i = 0; i < size; ++i) {
        state_[i] = value;
        value = 6364136223846793005U * (value ^ (value >> 62)) + i + 1;
    }
    next_ = size;
}

inline void KrRandomStream::twist(std::size_t i, std::size_t following, std::size_t shifted) {
    constexpr std::uint64_t low = 0x7FFFFFFFU;
    std::uint64_t const y = (state_[i] & ~low) | (state_[following] & low);
    state_[i] = state_[shifted] ^ (y >> 1) ^ (0xB5026F5AA96619E9U & (0 - (y & 1)));
}

void KrRandomStream::refill() {
    constexpr std::size_t shift = 156;
    for (std::size_t i = 0; i < size - shift; ++i) {
        twist(i, i + 1, i + shift);
    }
    for (std::size_t i = size - shift; i < size - 1; ++i) {
        twist(i, i + 1, i + shift - size);
    }
    twist(size - 1, 0, shift - 1);
    next_ = 0;
}

inline std::uint64_t KrRandomStream::draw() {
    if (next_ == size) {
        refill();
    }
    std::uint64_t x = state_[next_++];
    x ^= (x >> 29) & 0x5555555555555555U;
    x ^= (x << 17) & 0x71D67FFFEDA60000U;
    x ^= (x << 37) & 0xFFF7EEE000000000U;
    return x ^ (x >> 43);
}

// Uniform in [0, 1) in steps of 2^-53, which are what is counted and compared.
inline std::int64_t KrRandomStream::steps() { return static_cast<std::int64_t>(draw() >> 11); }
inline double KrRandomStream::uniform() { return static_cast<double>(steps()) * 0x1p-53; }

// True with probability exp(-p), 0 <= p <= 1 (von Neumann 1951): a run of uniforms
// p > u1 > u2 > ... ends after an even number of descents.
inline bool KrRandomStream::expMinus(double p) {
    std::int64_t const first = steps();
    return !(static_cast<double>(first) * 0x1p-53 < p) || !evenDescents(first);
}

inline bool KrRandomStream::evenDescents(std::int64_t last) {
    bool even = true;
    for (std::int64_t next = steps(); next < last; last = next, next = steps()) {
        even = !even;
    }
    return even;
}

// Karney's algorithm N: |z| = k + x, where exp(-z^2/2) is the product of exp(-k/2),
// exp(-k(k-1)/2) and exp(-x(2k+x)/2).
inline double KrRandomStream::normal() {
    auto const expMinusHalf = [this] { return evenDescents(half); };
    for (;;) {
        int k = 0;  // with probability exp(-k/2) (1 - exp(-1/2))
        while (expMinusHalf()) {
            ++k;
        }
        if (!all(k * (k - 1), expMinusHalf)) {
            continue;
        }
        double const x = uniform();
        double const twoK = 2.0 * k;
        double const share = x * (twoK + x) / (twoK + 2.0);
        if (all(k + 1, [&] { return expMinus(share); })) {
            double const magnitude = k + x;
            return steps() < half ? -magnitude : magnitude;
        }
    }
}

KrRealVector KrRandomStream::normalRandoms(double mean, double standardDeviation, KrU32 count) {
    KrRealVector values(count);
    for (double& value : values) {
        value = mean + standardDeviation * normal();
    }
    return values;
}

double KrRandomStream::uniformRealRandom(double low, double high) {
    return low + (high - low) * uniform();
}
