#include "foundation/math/KrRandom.h"

#include <mutex>
#include <random>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

struct Stream {
    std::mutex mutex;
    std::mt19937_64 engine;

    double uniform() { return static_cast<double>(engine() >> 11) * 0x1p-53; }

    // True with probability exp(-p), 0 <= p <= 1 (von Neumann 1951): a run of
    // uniforms p > u1 > u2 > ... ends after an even number of descents.
    bool expMinus(double p) {
        bool even = true;
        for (double last = p, next = uniform(); next < last; last = next, next = uniform()) {
            even = !even;
        }
        return even;
    }

    // k >= 0 with probability exp(-k/2) * (1 - exp(-1/2)).
    int halfGeometric() {
        int k = 0;
        while (expMinus(0.5)) {
            ++k;
        }
        return k;
    }

    // True with probability exp(-p), applied `times` times over.
    bool expMinus(double p, int times) {
        for (int i = 0; i < times; ++i) {
            if (!expMinus(p)) {
                return false;
            }
        }
        return true;
    }

    // Karney's algorithm N: |z| = k + x, where exp(-z^2/2) is the product of
    // exp(-k/2), exp(-k(k-1)/2) and exp(-x(2k+x)/2).
    double normal() {
        for (;;) {
            int const k = halfGeometric();
            if (!expMinus(0.5, k * (k - 1))) {
                continue;
            }
            double const x = uniform();
            double const twoK = 2.0 * k;
            if (expMinus(x * (twoK + x) / (twoK + 2.0), k + 1)) {
                double const magnitude = k + x;
                return uniform() < 0.5 ? -magnitude : magnitude;
            }
        }
    }
};

Stream& stream() {
    static Stream instance;
    return instance;
}

}  // namespace

void KrRandom::seed(KrU32 seed) {
    Stream& random = stream();
    std::lock_guard const lock(random.mutex);
    random.engine.seed(seed);
}

KrRealVector KrRandom::normalRandoms(double mean, double standardDeviation, KrU32 count) {
    KrRealVector values(count);
    Stream& random = stream();
    std::lock_guard const lock(random.mutex);
    for (double& value : values) {
        value = mean + standardDeviation * random.normal();
    }
    return values;
}

double KrRandom::uniformRealRandom(double low, double high) {
    Stream& random = stream();
    std::lock_guard const lock(random.mutex);
    return low + (high - low) * random.uniform();
}
