#include "function/composite/KrInterpolator.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <limits>
#include <utility>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();

// The number of grid points; `largest` when it is too large to be counted.
template <class Searches>
std::size_t pointCount(Searches const& searches) {
    std::size_t count = 1;
    for (auto const& search : searches) {
        if (__builtin_mul_overflow(count, std::size_t{search.size()}, &count)) {
            return largest;
        }
    }
    return count;
}

}  // namespace

template <class Value>
KrInterpolator<Value>* KrInterpolator<Value>::clone() const {
    return new KrInterpolator(*this);
}

template <class Value>
void KrInterpolator<Value>::init(std::vector<std::vector<Value>> tables,
                                 std::vector<KrVectorSearch<Value>> searches) {
    init();
    tables_ = std::move(tables);
    searches_ = std::move(searches);
    std::size_t const points = pointCount(searches_);
    if (!tables_.empty() && tables_.front().size() != points) {
        Kr::Print::instance().write(
            Kr::PrintType::Mismatch,
            "KrInterpolator Error:\n   Vector size, %d, not compatible with "
            "independent variable sizes, %d\n",
            tables_.front().size(), points);
    }
}

template <class Value>
void KrInterpolator<Value>::init() {
    tables_.clear();
    searches_.clear();
    grid_->measured = false;
}

template <class Value>
void KrInterpolator<Value>::addDimension(KrVectorSearch<Value> const& search) {
    searches_.push_back(search);
    grid_->measured = false;
}

template <class Value>
void KrInterpolator<Value>::addInterpolator(std::vector<Value> table) {
    tables_.push_back(std::move(table));
    grid_->measured = false;
}

template <class Value>
std::vector<Value> const& KrInterpolator<Value>::evaluate() const {
    return interpolate(
        [this](std::size_t dimension) -> Bracket const& { return searches_[dimension].found_; });
}

template <class Value>
std::vector<Value> const& KrInterpolator<Value>::evaluate(Value x0, ...) const {
    std::va_list more;
    va_start(more, x0);
    for (std::size_t d = 0; d < searches_.size(); ++d) {
        searches_[d].locate(d == 0 ? x0 : va_arg(more, Value));
    }
    va_end(more);
    return KrInterpolator::evaluate();
}

template <class Value>
std::vector<Value> const& KrInterpolator<Value>::evaluate(std::vector<Value> const& point) const {
    return interpolate([&](std::size_t dimension) -> Bracket const& {
        return searches_[dimension].locate(
            dimension < point.size() ? point[dimension] : std::numeric_limits<Value>::quiet_NaN());
    });
}

template <class Value>
auto KrInterpolator<Value>::initBounds() -> Bounds const& {
    bounds_.assign(searches_.size(), std::vector<Value>(2));
    for (std::size_t d = 0; d < searches_.size(); ++d) {
        searches_[d].getBounds(bounds_[d][0], bounds_[d][1]);
    }
    return bounds_;
}

template <class Value>
auto KrInterpolator<Value>::initLimitOrExtrapolate() -> Flags const& {
    limitOrExtrapolate_.clear();
    for (auto const& search : searches_) {
        KrBoolean atLow = false;
        KrBoolean atHigh = false;
        search.getLimitOrExtrapolate(atLow, atHigh);
        limitOrExtrapolate_.push_back({atLow, atHigh});
    }
    return limitOrExtrapolate_;
}

template <class Value>
void KrInterpolator<Value>::measure() const {
    Grid& grid = *grid_;
    grid = Grid();
    grid.measured = true;
    grid.result.resize(tables_.size());
    std::size_t const points = pointCount(searches_);
    std::size_t longest = 0;
    for (auto const& table : tables_) {
        longest = std::max(longest, table.size());
    }
    if (points == 0 || points == largest) {
        return;
    }
    std::size_t stride = 1;
    for (std::size_t d = 0; d < searches_.size(); ++d) {
        if (searches_[d].size() > 1) {
            grid.axes.push_back({d, stride});
            grid.span += stride;
        }
        stride *= searches_[d].size();
    }
    // The corners of a cell lie apart, so that a table of fewer values lacks one.
    grid.answerable = std::size_t{1} << grid.axes.size() <= longest;
    if (!grid.answerable || grid.axes.size() <= 3) {
        return;
    }
    grid.offsets = {0};
    for (std::size_t a = 0; a + 1 < grid.axes.size(); ++a) {
        std::vector<std::size_t> const before = std::exchange(grid.offsets, {});
        for (std::size_t const offset : before) {
            grid.offsets.push_back(offset);
            grid.offsets.push_back(offset + grid.axes[a].stride);
        }
    }
    grid.weights.resize(grid.offsets.size());
}

// `locate(dimension)` tells the bracket of a dimension.
template <class Value>
template <class Locate>
std::vector<Value> const& KrInterpolator<Value>::interpolate(Locate locate) const {
    Grid& grid = *grid_;
    if (!grid.measured) {
        measure();
    }
    if (!grid.answerable) {
        for (std::size_t d = 0; d < searches_.size(); ++d) {
            locate(d);
        }
        answerNaN();
        return grid.result;
    }
    switch (grid.axes.size()) {
        case 0: sumFewCorners<0>(locate); break;
        case 1: sumFewCorners<1>(locate); break;
        case 2: sumFewCorners<2>(locate); break;
        case 3: sumFewCorners<3>(locate); break;
        default: sumManyCorners(locate); break;
    }
    return grid.result;
}

template <class Value>
void KrInterpolator<Value>::answerNaN() const {
    std::ranges::fill(grid_->result, std::numeric_limits<Value>::quiet_NaN());
}

// The number of axes is known to the compiler, which keeps the corners apart in
// registers.
template <class Value>
template <std::size_t axisCount, class Locate>
void KrInterpolator<Value>::sumFewCorners(Locate locate) const {
    constexpr std::size_t cornerCount = std::size_t{1} << axisCount;
    std::array<Value, cornerCount> weights{1.0};
    std::array<std::size_t, cornerCount> offsets{0};
    Cell cell;
    for (std::size_t a = 0; a < axisCount; ++a) {
        Axis const axis = grid_->axes[a];
        Bracket const bracket = cell.enter(axis, locate(axis.dimension));
        for (std::size_t k = std::size_t{1} << a; k-- > 0;) {
            weights[2 * k + 1] = bracket.upperWeight * weights[k];
            weights[2 * k] = bracket.lowerWeight * weights[k];
            offsets[2 * k + 1] = offsets[k] + axis.stride;
            offsets[2 * k] = offsets[k];
        }
    }
    sumTables(cell, [&](Value const* first) {
        Value sum = 0.0;
        for (std::size_t k = 0; k < cornerCount; ++k) {
            sum += weights[k] * first[offsets[k]];
        }
        return sum;
    });
}

// The corners of the last axis are made in the sum, two at a time, so that half of
// the weights need no place.
template <class Value>
template <class Locate>
void KrInterpolator<Value>::sumManyCorners(Locate locate) const {
    Grid& grid = *grid_;
    Value* const weights = grid.weights.data();
    std::size_t const* const offsets = grid.offsets.data();
    std::size_t const pairCount = grid.offsets.size();
    Cell cell;
    weights[0] = 1.0;
    for (std::size_t a = 0; a + 1 < grid.axes.size(); ++a) {
        Bracket const bracket = cell.enter(grid.axes[a], locate(grid.axes[a].dimension));
        // Downward, so that a weight is read before its place is used.
        for (std::size_t k = std::size_t{1} << a; k-- > 0;) {
            Value const weight = weights[k];
            weights[2 * k] = bracket.lowerWeight * weight;
            weights[2 * k + 1] = bracket.upperWeight * weight;
        }
    }
    Axis const axis = grid.axes.back();
    Bracket const bracket = cell.enter(axis, locate(axis.dimension));
    sumTables(cell, [&](Value const* first) {
        Value sum = 0.0;
        for (std::size_t k = 0; k < pairCount; ++k) {
            Value const* const corner = first + offsets[k];
            sum += bracket.lowerWeight * weights[k] * corner[0];
            sum += bracket.upperWeight * weights[k] * corner[axis.stride];
        }
        return sum;
    });
}

// `sumCell(first)` interpolates one table, in which the cell's first corner is at
// `first`.
template <class Value>
template <class SumCell>
void KrInterpolator<Value>::sumTables(Cell const& cell, SumCell sumCell) const {
    Grid& grid = *grid_;
    if (cell.signs < 0) {  // not everything was looked up yet
        answerNaN();
        return;
    }
    std::size_t const last = static_cast<std::size_t>(cell.first) + grid.span;
    for (std::size_t j = 0; j < tables_.size(); ++j) {
        std::vector<Value> const& table = tables_[j];
        grid.result[j] = last < table.size() ? sumCell(table.data() + cell.first)
                                             : std::numeric_limits<Value>::quiet_NaN();
    }
}

template class KrInterpolator<double>;
