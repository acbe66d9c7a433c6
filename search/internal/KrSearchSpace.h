#pragma once

#include "foundation/core/KrTypes.h"

#include <bit>
#include <cmath>
#include <cstdint>

/// From an optimizer's coordinates to points of a box: each coordinate is multiplied by its scale,
/// then a point outside moves to the nearest point inside.
class KrSearchSpace {
public:
    /// All lists have one length. A distance is measured in widths of the box, and in `units` where
    /// a side is open or the width is 0.
    KrSearchSpace(KrRealVector scales, KrRealVector lower, KrRealVector upper, KrRealVector units);

    /// Sets `point` and returns its distance from the scaled x: 0 inside, and the sum over the
    /// coordinates outside. Coordinates beyond the scales are copied.
    double enter(KrRealVector const& x, KrRealVector& point) const {
        if (x.size() == scales_.size()) {
            point.resize(x.size());
            // Without a branch or an alias, the compiler takes several coordinates at a time.
            double* __restrict const to = point.data();
            std::uint64_t moved = 0;
            for (std::size_t i = 0; i < x.size(); ++i) {
                double const scaled = x[i] * scales_[i];
                double const raised = scaled > lower_[i] ? scaled : lower_[i];
                to[i] = raised < upper_[i] ? raised : upper_[i];
                moved |= std::bit_cast<std::uint64_t>(scaled) ^ std::bit_cast<std::uint64_t>(to[i]);
            }
            if (moved == 0) {
                return 0.0;
            }
        }
        return enterFromOutside(x, point);
    }

private:
    double enterFromOutside(KrRealVector const& x, KrRealVector& point) const;

    KrRealVector scales_;
    KrRealVector lower_;
    KrRealVector upper_;
    KrRealVector units_;
};

/// What a search at a `distance` outside of its box gets for `value`, the one at the nearest point
/// inside. `sign` is -1 in a search for a maximum.
inline double krPenalised(double value, double distance, double sign) {
    return distance > 0.0 ? value + sign * (std::abs(value) + 1.0) * distance : value;
}
