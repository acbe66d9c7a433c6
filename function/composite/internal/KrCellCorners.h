#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

/// The corners of a grid cell: each has an offset from the first corner and a weight. Each axis
/// splits every corner in two. With the number of axes known at compile time, the corners stay in
/// registers. `Real` is a number, or several side by side.
///
/// Corners are numbered as in a heap: after `a` axes they are 2^a to 2^(a+1) - 1, and corner m
/// splits into 2m and 2m + 1. So the weights before each axis remain.
template <class Real, std::size_t axes>
class KrCellCorners {
public:
    static constexpr std::size_t count = std::size_t{1} << axes;

    KrCellCorners() : KrCellCorners(Real(1.0)) {}
    /// Corners whose weights have the common factor `weight`.
    explicit KrCellCorners(Real const& weight) {
        weights_[1] = weight;
        offsets_[1] = 0;
    }

    /// Calls `visit(a)` for each axis. A loop that is left to the compiler to unroll made 3-D four
    /// times slower.
    template <class Visit>
    static void forEachAxis(Visit visit) {
        [&]<std::size_t... a>(std::index_sequence<a...>) {
            (visit(std::integral_constant<std::size_t, a>()), ...);
        }
        (std::make_index_sequence<axes>());
    }

    /// Splits the corners along the next axis.
    [[gnu::always_inline]] void weigh(std::size_t axis, std::size_t stride,
                                      Real const& upperWeight) {
        Real const lowerWeight = 1.0 - upperWeight;
        for (std::size_t m = std::size_t{2} << axis; m-- > std::size_t{1} << axis;) {
            weights_[2 * m] = lowerWeight * weights_[m];
            weights_[2 * m + 1] = upperWeight * weights_[m];
            offsets_[2 * m] = offsets_[m];
            offsets_[2 * m + 1] = offsets_[m] + stride;
        }
    }

    /// The weight of corner m.
    Real const& weight(std::size_t m) const { return weights_[m]; }
    /// The offset of corner m.
    std::size_t offset(std::size_t m) const { return offsets_[m]; }

    /// Adds the weighted values at the corners to `sum`, in order. `valueAt` returns the value at
    /// an offset.
    template <class ValueAt>
    [[gnu::always_inline]] void addTo(Real& sum, ValueAt valueAt) const {
        [&]<std::size_t... k>(std::index_sequence<k...>) {
            ((sum += weights_[count + k] * valueAt(offsets_[count + k])), ...);
        }
        (std::make_index_sequence<count>());
    }

private:
    std::array<Real, 2 * count> weights_;
    std::array<std::size_t, 2 * count> offsets_;
};
