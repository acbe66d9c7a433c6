#pragma once

#include <bit>
#include <cstdint>

/// Elementary functions of sums, products and quotients only, which round alike
/// everywhere. Those of the C library differ in the last bit between versions and
/// processors. The domains are those that random numbers need.
namespace KrElementary {

inline constexpr int mantissaBits = 52;
inline constexpr std::uint64_t exponentOfOne = 1023;

// 2^k for the exponent k of a normal number.
inline double powerOfTwo(std::int64_t k) {
    return std::bit_cast<double>((exponentOfOne + static_cast<std::uint64_t>(k)) << mantissaBits);
}

// c[0] + c[1] x + c[2] x^2 + ..., from the last term on.
template <int count>
double polynomial(double const (&c)[count], double x) {
    double sum = c[count - 1];
    for (int i = count - 2; i >= 0; --i) {
        sum = sum * x + c[i];
    }
    return sum;
}

// The upper parts have trailing zeros, so that their products with small integers are exact.
inline constexpr double ln2High = 0x1.62e42fee00000p-1;
inline constexpr double ln2Low = 0x1.a39ef35793c76p-33;
inline constexpr double halfPiHigh = 0x1.921fb54400000p+0;
inline constexpr double halfPiLow = 0x1.0b4611a626331p-34;

/// e^x for -700 <= x <= 0, with an error of less than 1 unit in the last place:
/// x = k ln 2 + r with |r| <= ln 2 / 2, and the Taylor series of e^r.
inline double exp(double x) {
    constexpr double inverse[] = {1.0 / 2,
                                  1.0 / 6,
                                  1.0 / 24,
                                  1.0 / 120,
                                  1.0 / 720,
                                  1.0 / 5040,
                                  1.0 / 40320,
                                  1.0 / 362880,
                                  1.0 / 3628800,
                                  1.0 / 39916800,
                                  1.0 / 479001600,
                                  1.0 / 6227020800.0,
                                  1.0 / 87178291200.0};
    auto const k = static_cast<std::int64_t>(x / 0x1.62e42fefa39efp-1 - 0.5);
    double const steps = static_cast<double>(k);
    double const high = x - steps * ln2High;
    double const low = steps * ln2Low;
    double const r = high - low;
    // r is rounded. Its rounding error counts to first order.
    double const rest = (high - r) - low;
    double const sum = 1.0 + (r + (r * r * polynomial(inverse, r) + rest));
    return sum * powerOfTwo(k);
}

/// The natural logarithm of x, a normal number from 0 to 1, with an error of less than
/// 1 unit in the last place:
/// x = 2^k m with m within a factor of the square root of 2 from 1, and the series of
/// ln m = 2 artanh s in s = (m - 1) / (m + 1).
inline double log(double x) {
    constexpr double inverse[] = {2.0 / 3,  2.0 / 5,  2.0 / 7,  2.0 / 9,  2.0 / 11,
                                  2.0 / 13, 2.0 / 15, 2.0 / 17, 2.0 / 19, 2.0 / 21};
    auto const bits = std::bit_cast<std::uint64_t>(x);
    std::int64_t k =
        static_cast<std::int64_t>(bits >> mantissaBits) - static_cast<std::int64_t>(exponentOfOne);
    double m = std::bit_cast<double>((bits & ((std::uint64_t{1} << mantissaBits) - 1)) |
                                     exponentOfOne << mantissaBits);
    if (m > 0x1.6a09e667f3bcdp+0) {
        m *= 0.5;
        ++k;
    }
    double const f = m - 1.0;
    double const s = f / (m + 1.0);
    double const s2 = s * s;
    // ln m = f - (f^2/2 - s (f^2/2 + R)), where R is the series without its first term.
    // f is exact, and the difference from it is small.
    double const halfSquare = 0.5 * f * f;
    double const correction = s * (halfSquare + s2 * polynomial(inverse, s2));
    double const steps = static_cast<double>(k);
    return steps * ln2High - ((halfSquare - (correction + steps * ln2Low)) - f);
}

/// Sine and cosine of x, 0 <= x <= 7, with errors of about 1 unit in the last place, or of
/// 2e-17 where they are small:
/// x = k pi/2 + r with |r| <= pi/4, and the Taylor series of sine and cosine of r.
inline void sineAndCosine(double x, double& sine, double& cosine) {
    constexpr double ofSine[] = {-1.0 / 6,
                                 1.0 / 120,
                                 -1.0 / 5040,
                                 1.0 / 362880,
                                 -1.0 / 39916800,
                                 1.0 / 6227020800.0,
                                 -1.0 / 1307674368000.0,
                                 1.0 / 355687428096000.0};
    constexpr double ofCosine[] = {
        1.0 / 24,        -1.0 / 720,           1.0 / 40320,           -1.0 / 3628800,
        1.0 / 479001600, -1.0 / 87178291200.0, 1.0 / 20922789888000.0};
    auto const k = static_cast<int>(x / 0x1.921fb54442d18p+0 + 0.5);  // NOLINT: x is positive
    double const high = x - k * halfPiHigh;
    double const low = k * halfPiLow;
    double const r = high - low;
    double const rest = (high - r) - low;
    double const r2 = r * r;
    double const ofR[2] = {r + (r * r2 * polynomial(ofSine, r2) + rest * (1.0 - 0.5 * r2)),
                           1.0 - (0.5 * r2 - (r2 * r2 * polynomial(ofCosine, r2) - r * rest))};
    double const sineOfX = ofR[k % 2];
    double const cosineOfX = ofR[1 - k % 2];
    sine = k % 4 < 2 ? sineOfX : -sineOfX;
    cosine = k % 4 == 1 || k % 4 == 2 ? -cosineOfX : cosineOfX;
}

}  // namespace KrElementary
