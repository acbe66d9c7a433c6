#pragma once

#include "foundation/core/KrTypes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

/// Whether two settings are equal, two NaN too: NaN is the text of "no such limit".
inline bool krSameNumber(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

/// Whether two points have the same bits. Two NaN are the same, whatever their sign: a text has one
/// NaN.
inline bool krSamePoint(KrRealVector const& a, KrRealVector const& b) {
    return std::ranges::equal(a, b, [](double x, double y) {
        return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y) ||
               (std::isnan(x) && std::isnan(y));
    });
}
