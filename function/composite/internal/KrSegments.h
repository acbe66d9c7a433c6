#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// Finds the segments of values in a table of breakpoints v[0], v[1], ... A segment is the index of
/// its first breakpoint. The functions keep no state: vector searches and frozen grids share them.
namespace KrSegments {

/// Several values side by side.
template <class Value, std::size_t lanes>
using Lanes = std::array<Value, lanes>;

/// Moves each lane's segment to the last one of the next `count` whose first breakpoint is not
/// above the lane's x. It has no branches, since they would be mispredicted. A conditional move is
/// quickest for one lane, and becomes a branch in a loop over several.
template <class Value, class Index, std::size_t lanes, class IsAbove>
[[gnu::always_inline]] inline void halve(Value const* v, Lanes<Index, lanes>& segment,
                                         std::size_t count, Lanes<Value, lanes> const& x,
                                         IsAbove isAbove) {
    while (count > 1) {
        auto const half = static_cast<Index>(count / 2);
        for (std::size_t l = 0; l < lanes; ++l) {
            Index const middle = segment[l] + half;
            if constexpr (lanes == 1) {
                segment[l] = isAbove(v[middle], x[l]) ? segment[l] : middle;
            } else {
                segment[l] += half * static_cast<Index>(!isAbove(v[middle], x[l]));
            }
        }
        count -= half;
    }
}

/// A strictly monotone table of breakpoints, with what shortens its bisection. Vector searches and
/// frozen grids share it, and it never changes.
///
/// The range of the breakpoints is divided into even cells, and for each the first segment that
/// reaches into it is listed. A value's cell leaves few segments to bisect: two if the breakpoints
/// are about evenly spaced, which takes an eighth of the time for 1000 breakpoints.
///
/// If cells leave too many, as for breakpoints in powers of ten, a long table has a coarse list
/// instead: v[0], v[32], v[64], ... It fits a cache that the table does not fit.
template <class Value>
class Table {
public:
    using Index = std::uint32_t;

    explicit Table(std::vector<Value> const& breakpoints, bool isMonotone)
        : breakpoints_(breakpoints) {
        if (isMonotone && breakpoints_.size() >= leastWithCells) {
            divide();
        }
        if (isMonotone && starts_.empty() && breakpoints_.size() >= leastWithCoarseList) {
            for (std::size_t i = 0; i + 1 < breakpoints_.size(); i += coarseStep) {
                coarse_.push_back(breakpoints_[i]);
            }
        }
    }

    Value const* data() const { return breakpoints_.data(); }
    /// Returns whether there are cells or a coarse list.
    bool isLong() const { return !starts_.empty() || !coarse_.empty(); }

    /// Returns the segment of each x, which must be inside the table, the first breakpoint
    /// included. Every bisection finds the same.
    template <std::size_t lanes, class IsAbove>
    [[gnu::always_inline]] Lanes<Index, lanes> bisect(Lanes<Value, lanes> const& x,
                                                      IsAbove isAbove) const {
        Value const* const v = breakpoints_.data();
        std::size_t count = breakpoints_.size() - 1;
        Lanes<Index, lanes> segment;
        if (!starts_.empty()) {
            Lanes<std::int32_t, lanes> cell;
            Index const* const starts = starts_.data();
            Value const origin = v[0];
            Value const cellsPerUnit = cellsPerUnit_;
            for (std::size_t l = 0; l < lanes; ++l) {
                cell[l] = static_cast<std::int32_t>((x[l] - origin) * cellsPerUnit);
            }
            for (std::size_t l = 0; l < lanes; ++l) {
                segment[l] = starts[cell[l]];
            }
            count = candidates_;
        } else if (!coarse_.empty()) {
            segment.fill(0);
            halve(coarse_.data(), segment, coarse_.size(), x, isAbove);
            auto const last = static_cast<Index>(count - coarseStep);
            for (Index& s : segment) {
                s = std::min(s * coarseStep, last);
            }
            count = coarseStep;
        } else {
            segment.fill(0);
        }
        halve(v, segment, count, x, isAbove);
        return segment;
    }

private:
    static constexpr Index coarseStep = 32;
    static constexpr std::size_t leastWithCoarseList = std::size_t{1} << 13;
    static constexpr std::size_t leastWithCells = 16;
    static constexpr std::size_t mostCells = std::size_t{1} << 15;  // so that they stay in a cache

    // Each operation is monotone, rounding included: x >= y is never in an earlier cell than y.
    std::int32_t cellOf(Value x) const {
        return static_cast<std::int32_t>((x - breakpoints_[0]) * cellsPerUnit_);
    }

    void divide() {
        std::size_t const segments = breakpoints_.size() - 1;
        auto const cells = static_cast<std::int32_t>(std::min(2 * segments, mostCells));
        cellsPerUnit_ = static_cast<Value>(cells) / (breakpoints_[segments] - breakpoints_[0]);
        if (!std::isnormal(cellsPerUnit_)) {
            return;
        }
        // The segments of cell c are those from starts[c] to the first one of cell c + 1.
        std::vector<Index> starts;
        std::size_t most = 0;
        std::size_t i = 0;  // the last segment that begins before the cell
        for (std::int32_t cell = 0; cell <= cells; ++cell) {  // rounding can reach the last
            starts.push_back(static_cast<Index>(i));
            std::size_t const first = i;
            while (i + 1 < segments && cellOf(breakpoints_[i + 1]) == cell) {
                ++i;
            }
            most = std::max(most, i - first + 1);
        }
        if (most <= 2 || most <= segments / 8) {
            candidates_ = most;
            starts_ = std::move(starts);
            for (Index& start : starts_) {
                start = std::min(start, static_cast<Index>(segments - most));
            }
        }
    }

    std::vector<Value> breakpoints_;
    std::vector<Value> coarse_;
    std::vector<Index> starts_;  // of each cell, but never too late for `candidates_`
    std::size_t candidates_ = 0;
    Value cellsPerUnit_ = 0.0;
};

/// Returns the segment that bisection of any table finds. A table out of order can have several
/// segments around x: the order of these steps decides which one is the result.
template <class Value>
inline std::int64_t bisectUnordered(Value const* v, std::int64_t maxIndex, Value direction,
                                    Value sx) {
    std::int64_t low = 0;
    std::int64_t high = maxIndex + 1;
    while (high - low > 1) {
        std::int64_t const middle = low + (high - low) / 2;
        (direction * v[middle] > sx ? high : low) = middle;
    }
    return low;
}

/// Returns the segment of x if all steps equal `spacing`. Rounding can exceed the table.
template <class Value>
inline std::int64_t bySpacing(Value const* v, std::int64_t maxIndex, Value spacing, Value x) {
    Value const quotient = (x - v[0]) / spacing;
    if (quotient < static_cast<Value>(maxIndex)) {
        return quotient > 0.0 ? static_cast<std::int64_t>(quotient) : 0;
    }
    return std::isfinite(quotient) ? maxIndex : 0;
}

}  // namespace KrSegments
