#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

/// The bits of a value. Every NaN has the same, since processors choose different ones.
inline std::uint64_t bits(double value) {
    return std::bit_cast<std::uint64_t>(std::isnan(value) ? std::numeric_limits<double>::quiet_NaN()
                                                          : value);
}

inline std::vector<std::uint64_t> bits(std::vector<double> const& values) {
    std::vector<std::uint64_t> result;
    for (double const value : values) {
        result.push_back(bits(value));
    }
    return result;
}
