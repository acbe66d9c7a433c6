#pragma once

#include <cstddef>

/// H. H. Rosenbrock's function, as a chain of n variables.
inline double rosenbrock(double const* x, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < n; ++i) {
        double const a = x[i + 1] - x[i] * x[i];
        double const b = 1.0 - x[i];
        sum += 100.0 * (a * a) + b * b;
    }
    return sum;
}
