#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>

/// The test problems of J. J. Moré and S. M. Wild, "Benchmarking derivative-free
/// optimization algorithms", SIAM Journal on Optimization 20 (2009): 22 nonlinear
/// least squares families f1(x) ... fm(x), most of them from J. J. Moré, B. S.
/// Garbow and K. E. Hillstrom, "Testing unconstrained optimization software", ACM
/// Transactions on Mathematical Software 7 (1981), in 53 problems, each of which
/// is a function to minimise in three variants.
///
/// Written from the published formulas. Two choices are those of the 2009 set and
/// not of the 1981 collection: Watson starts at (0.5, ..., 0.5), Osborne 1 has a
/// positive third coordinate at its start. The rows of the 53 problems give the
/// numbers of problems per dimension that the paper tabulates (5, 6, 5, 4, 4, 5,
/// 6, 5, 4, 4, 5 for n = 2 ... 12).
namespace MoreWild {

enum class Variant {
    smooth,           ///< the sum of fi²
    piecewiseSmooth,  ///< the sum of |fi|
    noisy             ///< the sum of fi², with a deterministic relative noise of 1e-3
};

using Residuals = void (*)(KrRealVector const& x, KrRealVector& f);

namespace Detail {

constexpr double square(double x) { return x * x; }
constexpr double cube(double x) { return x * x * x; }

/// f[i - 1] = formula(i) for i = 1 ... m.
template <typename Formula>
void fill(KrRealVector& f, Formula const& formula) {
    for (KrU32 i = 0; i < f.size(); ++i) {
        f[i] = formula(i + 1);
    }
}

/// The sum of weight(j) x[j - 1] for j = 1 ... n.
template <typename Weight>
double sum(KrRealVector const& x, Weight const& weight) {
    double total = 0.0;
    for (KrU32 j = 0; j < x.size(); ++j) {
        total += weight(j + 1) * x[j];
    }
    return total;
}

inline double total(KrRealVector const& x) {
    return sum(x, [](auto) { return 1.0; });
}

inline void linearFullRank(KrRealVector const& x, KrRealVector& f) {
    double const mean = 2.0 * total(x) / double(f.size()) + 1.0;
    fill(f, [&](auto i) { return (i <= x.size() ? x[i - 1] : 0.0) - mean; });
}

inline void linearRankOne(KrRealVector const& x, KrRealVector& f) {
    double const weighted = sum(x, [](auto j) { return double(j); });
    fill(f, [&](double i) { return i * weighted - 1.0; });
}

inline void linearRankOneZeroBorder(KrRealVector const& x, KrRealVector& f) {
    auto const inner = [&](auto j) { return j == 1 || j == x.size() ? 0.0 : double(j); };
    double const weighted = sum(x, inner);
    fill(f, [&](auto i) { return i == f.size() ? -1.0 : (double(i) - 1.0) * weighted - 1.0; });
}

inline void rosenbrock(KrRealVector const& x, KrRealVector& f) {
    f = {10.0 * (x[1] - square(x[0])), 1.0 - x[0]};
}

inline void helicalValley(KrRealVector const& x, KrRealVector& f) {
    double turns = std::copysign(0.25, x[1]);
    if (x[0] != 0.0) {
        turns = std::atan(x[1] / x[0]) / (2.0 * std::numbers::pi) + (x[0] < 0.0 ? 0.5 : 0.0);
    }
    f = {10.0 * (x[2] - 10.0 * turns), 10.0 * (std::hypot(x[0], x[1]) - 1.0), x[2]};
}

inline void powellSingular(KrRealVector const& x, KrRealVector& f) {
    f = {x[0] + 10.0 * x[1], std::sqrt(5.0) * (x[2] - x[3]), square(x[1] - 2.0 * x[2]),
         std::sqrt(10.0) * square(x[0] - x[3])};
}

inline void freudensteinRoth(KrRealVector const& x, KrRealVector& f) {
    f = {-13.0 + x[0] + ((5.0 - x[1]) * x[1] - 2.0) * x[1],
         -29.0 + x[0] + ((1.0 + x[1]) * x[1] - 14.0) * x[1]};
}

inline constexpr double bardY[] = {0.14, 0.18, 0.22, 0.25, 0.29, 0.32, 0.35, 0.39,
                                   0.37, 0.58, 0.73, 0.96, 1.34, 2.10, 4.39};

inline void bard(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        double const u = double(i);
        double const v = 16.0 - u;
        return bardY[i - 1] - (x[0] + u / (x[1] * v + x[2] * std::min(u, v)));
    });
}

inline constexpr double kowalikOsborneU[] = {4.0,   2.0, 1.0,    0.5,    0.25,  0.167,
                                             0.125, 0.1, 0.0833, 0.0714, 0.0625};
inline constexpr double kowalikOsborneY[] = {0.1957, 0.1947, 0.1735, 0.1600, 0.0844, 0.0627,
                                             0.0456, 0.0342, 0.0323, 0.0235, 0.0246};

inline void kowalikOsborne(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        double const t = kowalikOsborneU[i - 1];
        return kowalikOsborneY[i - 1] - x[0] * t * (t + x[1]) / (t * (t + x[2]) + x[3]);
    });
}

inline constexpr double meyerY[] = {34780.0, 28610.0, 23650.0, 19630.0, 16370.0, 13720.0,
                                    11540.0, 9744.0,  8261.0,  7030.0,  6005.0,  5147.0,
                                    4427.0,  3820.0,  3307.0,  2872.0};

inline void meyer(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        return x[0] * std::exp(x[1] / (5.0 * double(i) + 45.0 + x[2])) - meyerY[i - 1];
    });
}

inline void watson(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        if (i == 30) return x[0];
        if (i == 31) return x[1] - square(x[0]) - 1.0;
        double const t = double(i) / 29.0;
        double slope = 0.0;
        double value = 0.0;
        double power = 1.0;  // t^(j - 1), and t^(j - 2) times t for the slope
        for (KrU32 j = 1; j <= x.size(); ++j) {
            slope += double(j - 1) * (power / t) * x[j - 1];
            value += power * x[j - 1];
            power *= t;
        }
        return slope - square(value) - 1.0;
    });
}

inline void boxThreeDimensional(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](double i) {
        double const t = i / 10.0;
        return std::exp(-t * x[0]) - std::exp(-t * x[1]) + (std::exp(-i) - std::exp(-t)) * x[2];
    });
}

inline void jennrichSampson(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](double i) { return 2.0 + 2.0 * i - std::exp(i * x[0]) - std::exp(i * x[1]); });
}

inline void brownDennis(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](double i) {
        double const t = i / 5.0;
        return square(x[0] + t * x[1] - std::exp(t)) +
               square(x[2] + std::sin(t) * x[3] - std::cos(t));
    });
}

inline void chebyquad(KrRealVector const& x, KrRealVector& f) {
    std::fill(f.begin(), f.end(), 0.0);
    double const n = double(x.size());
    for (double const component : x) {
        double const t = 2.0 * component - 1.0;
        double previous = 1.0;
        double polynomial = t;  // the shifted Chebyshev polynomial of degree i + 1
        for (double& value : f) {
            value += polynomial / n;
            double const next = 2.0 * t * polynomial - previous;
            previous = polynomial;
            polynomial = next;
        }
    }
    for (std::size_t i = 2; i <= f.size(); i += 2) {
        f[i - 1] += 1.0 / (square(double(i)) - 1.0);
    }
}

inline void brownAlmostLinear(KrRealVector const& x, KrRealVector& f) {
    double const excess = total(x) - (double(x.size()) + 1.0);
    double product = 1.0;
    for (double const component : x) {
        product *= component;
    }
    fill(f, [&](auto i) { return i == f.size() ? product - 1.0 : x[i - 1] + excess; });
}

inline constexpr double osborneOneY[] = {
    0.844, 0.908, 0.932, 0.936, 0.925, 0.908, 0.881, 0.850, 0.818, 0.784, 0.751,
    0.718, 0.685, 0.658, 0.628, 0.603, 0.580, 0.558, 0.538, 0.522, 0.506, 0.490,
    0.478, 0.467, 0.457, 0.448, 0.438, 0.431, 0.424, 0.420, 0.414, 0.411, 0.406};

inline void osborneOne(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        double const t = 10.0 * double(i - 1);
        return osborneOneY[i - 1] -
               (x[0] + x[1] * std::exp(-x[3] * t) + x[2] * std::exp(-x[4] * t));
    });
}

inline constexpr double osborneTwoY[] = {
    1.366, 1.191, 1.112, 1.013, 0.991, 0.885, 0.831, 0.847, 0.786, 0.725, 0.746, 0.679, 0.608,
    0.655, 0.616, 0.606, 0.602, 0.626, 0.651, 0.724, 0.649, 0.649, 0.694, 0.644, 0.624, 0.661,
    0.612, 0.558, 0.533, 0.495, 0.500, 0.423, 0.395, 0.375, 0.372, 0.391, 0.396, 0.405, 0.428,
    0.429, 0.523, 0.562, 0.607, 0.653, 0.672, 0.708, 0.633, 0.668, 0.645, 0.632, 0.591, 0.559,
    0.597, 0.625, 0.739, 0.710, 0.729, 0.720, 0.636, 0.581, 0.428, 0.292, 0.162, 0.098, 0.054};

inline void osborneTwo(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        double const t = double(i - 1) / 10.0;
        return osborneTwoY[i - 1] -
               (x[0] * std::exp(-x[4] * t) + x[1] * std::exp(-x[5] * square(t - x[8])) +
                x[2] * std::exp(-x[6] * square(t - x[9])) +
                x[3] * std::exp(-x[7] * square(t - x[10])));
    });
}

inline void bdqrtic(KrRealVector const& x, KrRealVector& f) {
    std::size_t const half = x.size() - 4;
    for (std::size_t i = 0; i < half; ++i) {
        f[i] = 3.0 - 4.0 * x[i];
        f[half + i] = square(x[i]) + 2.0 * square(x[i + 1]) + 3.0 * square(x[i + 2]) +
                      4.0 * square(x[i + 3]) + 5.0 * square(x.back());
    }
}

inline void cubeChain(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) { return i == 1 ? x[0] - 1.0 : 10.0 * (x[i - 1] - cube(x[i - 2])); });
}

/// Mancino's sum over j of v (sin⁵ log v + cos⁵ log v) with v = sqrt(x² + i/j).
inline double mancinoSum(double x, KrU32 i, KrU32 n) {
    double result = 0.0;
    for (KrU32 j = 1; j <= n; ++j) {
        double const v = std::sqrt(square(x) + double(i) / double(j));
        double const angle = std::log(v);
        double const sine = std::sin(angle);
        double const cosine = std::cos(angle);
        result += v * (square(sine) * cube(sine) + square(cosine) * cube(cosine));
    }
    return result;
}

inline void mancino(KrRealVector const& x, KrRealVector& f) {
    fill(f, [&](auto i) {
        return 1400.0 * x[i - 1] + cube(double(i) - 50.0) +
               mancinoSum(x[i - 1], i, KrU32(x.size()));
    });
}

/// The dipole model of the heart: with the complex numbers a = x0 + i x2, b = x1 +
/// i x3, u = x4 + i x6, v = x5 + i x7, the moments a uᵏ + b vᵏ, k = 0 ... 3, have
/// given values.
inline void heart8(KrRealVector const& x, KrRealVector& f) {
    f = {x[0] + x[1] + 0.69, x[2] + x[3] + 0.044};
    auto const demand = [&](double realSum, double imaginarySum) {
        f.push_back(realSum);
        f.push_back(imaginarySum);
    };
    double const u = x[4], v = x[5], p = x[6], q = x[7];
    demand(u * x[0] + v * x[1] - p * x[2] - q * x[3] + 1.57,
           p * x[0] + q * x[1] + u * x[2] + v * x[3] + 1.31);
    double const u2 = u * u - p * p, p2 = 2.0 * u * p, v2 = v * v - q * q, q2 = 2.0 * v * q;
    demand(u2 * x[0] + v2 * x[1] - p2 * x[2] - q2 * x[3] + 2.65,
           p2 * x[0] + q2 * x[1] + u2 * x[2] + v2 * x[3] - 2.0);
    double const u3 = u * u2 - p * p2, p3 = u * p2 + p * u2;
    double const v3 = v * v2 - q * q2, q3 = v * q2 + q * v2;
    demand(u3 * x[0] + v3 * x[1] - p3 * x[2] - q3 * x[3] + 12.6,
           p3 * x[0] + q3 * x[1] + u3 * x[2] + v3 * x[3] - 9.48);
}

inline KrRealVector equidistantStart(KrU32 n) {
    KrRealVector x(n);
    fill(x, [&](double i) { return i / (double(n) + 1.0); });
    return x;
}

inline KrRealVector mancinoStart(KrU32 n) {
    KrRealVector x(n);
    fill(x,
         [&](auto i) { return -8.710996e-4 * (cube(double(i) - 50.0) + mancinoSum(0.0, i, n)); });
    return x;
}

template <int tenths>
KrRealVector constantStart(KrU32 n) {
    return KrRealVector(n, tenths / 10.0);
}

}  // namespace Detail

struct Family {
    char const* name;
    Residuals residuals;
    KrRealVector (*start)(KrU32 n);
    /// The piecewise smooth variant takes max(x, 0): some residuals have no sense,
    /// or grow without end, at negative coordinates.
    bool nonnegative = false;
};

inline Family const families[] = {
    {"linear, full rank", Detail::linearFullRank, Detail::constantStart<10>},
    {"linear, rank one", Detail::linearRankOne, Detail::constantStart<10>},
    {"linear, rank one, zero border", Detail::linearRankOneZeroBorder, Detail::constantStart<10>},
    {"Rosenbrock", Detail::rosenbrock,
     [](auto) {
         return KrRealVector{-1.2, 1.0};
     }},
    {"helical valley", Detail::helicalValley,
     [](auto) {
         return KrRealVector{-1.0, 0.0, 0.0};
     }},
    {"Powell singular", Detail::powellSingular,
     [](auto) {
         return KrRealVector{3.0, -1.0, 0.0, 1.0};
     }},
    {"Freudenstein and Roth", Detail::freudensteinRoth,
     [](auto) {
         return KrRealVector{0.5, -2.0};
     }},
    {"Bard", Detail::bard, Detail::constantStart<10>, true},
    {"Kowalik and Osborne", Detail::kowalikOsborne,
     [](auto) {
         return KrRealVector{0.25, 0.39, 0.415, 0.39};
     },
     true},
    {"Meyer", Detail::meyer,
     [](auto) {
         return KrRealVector{0.02, 4000.0, 250.0};
     }},
    {"Watson", Detail::watson, Detail::constantStart<5>},
    {"Box three-dimensional", Detail::boxThreeDimensional,
     [](auto) {
         return KrRealVector{0.0, 10.0, 20.0};
     }},
    {"Jennrich and Sampson", Detail::jennrichSampson,
     [](auto) {
         return KrRealVector{0.3, 0.4};
     },
     true},
    {"Brown and Dennis", Detail::brownDennis,
     [](auto) {
         return KrRealVector{25.0, 5.0, -5.0, -1.0};
     }},
    {"Chebyquad", Detail::chebyquad, Detail::equidistantStart},
    {"Brown almost-linear", Detail::brownAlmostLinear, Detail::constantStart<5>, true},
    {"Osborne 1", Detail::osborneOne,
     [](auto) {
         return KrRealVector{0.5, 1.5, 1.0, 0.01, 0.02};
     },
     true},
    {"Osborne 2", Detail::osborneTwo,
     [](auto) { return KrRealVector{1.3, 0.65, 0.65, 0.7, 0.6, 3.0, 5.0, 7.0, 2.0, 4.5, 5.5}; },
     true},
    {"Bdqrtic", Detail::bdqrtic, Detail::constantStart<10>},
    {"Cube", Detail::cubeChain, Detail::constantStart<5>},
    {"Mancino", Detail::mancino, Detail::mancinoStart},
    {"Heart8", Detail::heart8,
     [](auto) { return KrRealVector{-0.3, -0.39, 0.3, -0.344, -1.2, 2.69, 1.59, -1.5}; }},
};

/// A family at one size, started at its start point times 10^scale.
struct Problem {
    KrU32 family;  ///< 1 ... 22
    KrU32 n;
    KrU32 m;
    KrU32 scale;

    Family const& itsFamily() const { return families[family - 1]; }

    KrRealVector start() const {
        KrRealVector x = itsFamily().start(n);
        for (double& component : x) {
            component *= scale == 1 ? 10.0 : 1.0;
        }
        return x;
    }
};

inline constexpr std::array<Problem, 53> problems{{
    {1, 9, 45, 0},   {1, 9, 45, 1},   {2, 7, 35, 0},   {2, 7, 35, 1},   {3, 7, 35, 0},
    {3, 7, 35, 1},   {4, 2, 2, 0},    {4, 2, 2, 1},    {5, 3, 3, 0},    {5, 3, 3, 1},
    {6, 4, 4, 0},    {6, 4, 4, 1},    {7, 2, 2, 0},    {7, 2, 2, 1},    {8, 3, 15, 0},
    {8, 3, 15, 1},   {9, 4, 11, 0},   {10, 3, 16, 0},  {11, 6, 31, 0},  {11, 6, 31, 1},
    {11, 9, 31, 0},  {11, 9, 31, 1},  {11, 12, 31, 0}, {11, 12, 31, 1}, {12, 3, 10, 0},
    {13, 2, 10, 0},  {14, 4, 20, 0},  {14, 4, 20, 1},  {15, 6, 6, 0},   {15, 7, 7, 0},
    {15, 8, 8, 0},   {15, 9, 9, 0},   {15, 10, 10, 0}, {15, 11, 11, 0}, {16, 10, 10, 0},
    {17, 5, 33, 0},  {18, 11, 65, 0}, {18, 11, 65, 1}, {19, 8, 8, 0},   {19, 10, 12, 0},
    {19, 11, 14, 0}, {19, 12, 16, 0}, {20, 5, 5, 0},   {20, 6, 6, 0},   {20, 8, 8, 0},
    {21, 5, 5, 0},   {21, 5, 5, 1},   {21, 8, 8, 0},   {21, 10, 10, 0}, {21, 12, 12, 0},
    {21, 12, 12, 1}, {22, 8, 8, 0},   {22, 8, 8, 1},
}};

/// A problem in one of its variants.
class Function : public KrScalarMultivariableFunction {
public:
    Function(Problem const& problem, Variant variant)
        : problem_(problem), variant_(variant), residuals_(problem.m) {}

    double evaluate(KrRealVector const& x) const override {
        Residuals const residuals = problem_.itsFamily().residuals;
        double result = 0.0;
        if (variant_ == Variant::piecewiseSmooth) {
            point_ = x;
            for (double& component : point_) {
                component = problem_.itsFamily().nonnegative ? std::max(component, 0.0) : component;
            }
            residuals(point_, residuals_);
            for (double const residual : residuals_) {
                result += std::abs(residual);
            }
            return result;
        }
        residuals(x, residuals_);
        for (double const residual : residuals_) {
            result += Detail::square(residual);
        }
        return variant_ == Variant::noisy ? (1.0 + 1e-3 * noise(x)) * result : result;
    }

    KrU32 domainDim() const override { return problem_.n; }

private:
    /// In [-1, 1]: the cubic Chebyshev polynomial of an oscillating function.
    static double noise(KrRealVector const& x) {
        double one = 0.0;
        double two = 0.0;
        double infinity = 0.0;
        for (double const component : x) {
            one += std::abs(component);
            two += Detail::square(component);
            infinity = std::max(infinity, std::abs(component));
        }
        double const phi = 0.9 * std::sin(100.0 * one) * std::cos(100.0 * infinity) +
                           0.1 * std::cos(std::sqrt(two));
        return phi * (4.0 * Detail::square(phi) - 3.0);
    }

    Problem problem_;
    Variant variant_;
    mutable KrRealVector residuals_;
    mutable KrRealVector point_;
};

}  // namespace MoreWild
