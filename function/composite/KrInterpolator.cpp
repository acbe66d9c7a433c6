#include "function/composite/KrInterpolator.h"

#include "foundation/core/KrPrint.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <limits>
#include <utility>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
constexpr std::size_t largestPrinted = std::numeric_limits<std::int64_t>::max();

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

// How many positions of a table have all of their cell in it.
template <class Table>
std::size_t roomIn(Table const& table, std::size_t span) {
    return table.size() - std::min(table.size(), span);
}

// From this number of axes on, corners are kept in memory.
constexpr std::size_t manyAxes = 4;

template <class Value>
constexpr Value nan = std::numeric_limits<Value>::quiet_NaN();

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
            tables_.front().size(), std::min(points, largestPrinted));
    }
}

template <class Value>
void KrInterpolator<Value>::init() {
    tables_.clear();
    searches_.clear();
    *grid_ = Grid();
}

template <class Value>
void KrInterpolator<Value>::addDimension(KrVectorSearch<Value> const& search) {
    searches_.push_back(search);
    *grid_ = Grid();
}

template <class Value>
void KrInterpolator<Value>::addInterpolator(std::vector<Value> table) {
    tables_.push_back(std::move(table));
    *grid_ = Grid();
}

template <class Value>
std::vector<Value> const& KrInterpolator<Value>::evaluate() const {
    if (!grid_->measured) {
        measure();
    }
    return grid_->evaluateAtLast(*this, {});
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
    if (point.size() < grid_->coordinates) {
        return evaluateUnprepared(point);
    }
    return grid_->evaluateAtPoint(*this, {point.data()});
}

// Before the grid was measured, and for a point that lacks a coordinate.
template <class Value>
std::vector<Value> const& KrInterpolator<Value>::evaluateUnprepared(
    std::vector<Value> const& point) const {
    if (!grid_->measured) {
        measure();
        return KrInterpolator::evaluate(point);
    }
    for (std::size_t d = 0; d < searches_.size(); ++d) {
        searches_[d].locate(d < point.size() ? point[d] : nan<Value>);
    }
    return KrInterpolator::evaluate();
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
void KrInterpolator<Value>::swap(KrInterpolator& other) noexcept {
    std::swap(tables_, other.tables_);
    std::swap(searches_, other.searches_);
    std::swap(bounds_, other.bounds_);
    std::swap(limitOrExtrapolate_, other.limitOrExtrapolate_);
    std::swap(grid_, other.grid_);
    std::swap(result_, other.result_);
}

template <class Value>
void KrInterpolator<Value>::measure() const {
    Grid grid = measured();
    result_->resize(tables_.size());
    *grid_ = std::move(grid);
}

template <class Value>
auto KrInterpolator<Value>::measured() const -> Grid {
    Grid grid;
    grid.measured = true;
    grid.coordinates = searches_.size();
    grid.evaluateAtPoint = answerNaN<AtPoint>;
    grid.evaluateAtLast = answerNaN<AtLast>;
    std::size_t const points = pointCount(searches_);
    if (tables_.empty() || points == 0 || points == largest) {
        return grid;
    }
    std::size_t stride = 1;
    for (std::size_t d = 0; d < searches_.size(); ++d) {
        if (searches_[d].size() > 1) {
            grid.axes.push_back({d, stride});
            grid.span += stride;
        }
        stride *= searches_[d].size();
    }
    auto const [shortest, longest] = std::ranges::minmax(tables_, {}, &std::vector<Value>::size);
    grid.room = roomIn(shortest, grid.span);
    // The corners of a cell lie apart, so that a table of fewer values lacks one.
    std::size_t const axisCount = grid.axes.size();
    if (std::size_t{1} << axisCount > longest.size()) {
        return grid;
    }
    grid.evaluateAtPoint = evaluationOf<AtPoint>(axisCount);
    grid.evaluateAtLast = evaluationOf<AtLast>(axisCount);
    if (axisCount < manyAxes) {
        return grid;
    }
    grid.offsets = {0};
    for (std::size_t a = 0; a + 1 < axisCount; ++a) {
        std::vector<std::size_t> const before = std::exchange(grid.offsets, {});
        for (std::size_t const offset : before) {
            grid.offsets.push_back(offset);
            grid.offsets.push_back(offset + grid.axes[a].stride);
        }
    }
    grid.weights.resize(grid.offsets.size());
    return grid;
}

template <class Value>
template <class Locate>
auto KrInterpolator<Value>::evaluationOf(std::size_t axisCount) -> Evaluation<Locate> {
    constexpr Evaluation<Locate> few[manyAxes] = {
        sumFewCorners<0, Locate>, sumFewCorners<1, Locate>, sumFewCorners<2, Locate>,
        sumFewCorners<3, Locate>};
    return axisCount < manyAxes ? few[axisCount] : sumManyCorners<Locate>;
}

template <class Value>
template <class Locate>
std::vector<Value> const& KrInterpolator<Value>::answerNaN(KrInterpolator const& self,
                                                           Locate locate) {
    for (std::size_t d = 0; d < self.searches_.size(); ++d) {
        locate(self.searches_[d], d);
    }
    std::ranges::fill(*self.result_, nan<Value>);
    return *self.result_;
}

// The number of axes is known to the compiler, which keeps the corners apart in
// registers.
template <class Value>
template <std::size_t axisCount, class Locate>
std::vector<Value> const& KrInterpolator<Value>::sumFewCorners(KrInterpolator const& self,
                                                               Locate locate) {
    constexpr std::size_t cornerCount = std::size_t{1} << axisCount;
    Grid const& grid = *self.grid_;
    std::array<Value, cornerCount> weights{1.0};
    std::array<std::size_t, cornerCount> offsets{0};
    std::size_t first = 0;
    for (std::size_t a = 0; a < axisCount; ++a) {
        Axis const axis = grid.axes[a];
        std::size_t const stride = a == 0 ? 1 : axis.stride;
        auto const [index, upperWeight] = locate(self.searches_[axis.dimension], axis.dimension);
        Value const lowerWeight = 1.0 - upperWeight;
        first += static_cast<std::size_t>(index) * stride;
        for (std::size_t k = std::size_t{1} << a; k-- > 0;) {
            weights[2 * k + 1] = upperWeight * weights[k];
            weights[2 * k] = lowerWeight * weights[k];
            offsets[2 * k + 1] = offsets[k] + stride;
            offsets[2 * k] = offsets[k];
        }
    }
    return self.sumTables(first, [&](Value const* cell) {
        Value sum = 0.0;
        for (std::size_t k = 0; k < cornerCount; ++k) {
            sum += weights[k] * cell[offsets[k]];
        }
        return sum;
    });
}

// The corners of the last axis are made in the sum, two at a time, so that half of
// the weights need no place.
template <class Value>
template <class Locate>
std::vector<Value> const& KrInterpolator<Value>::sumManyCorners(KrInterpolator const& self,
                                                                Locate locate) {
    Grid& grid = *self.grid_;
    Value* const weights = grid.weights.data();
    std::size_t const* const offsets = grid.offsets.data();
    std::size_t const pairCount = grid.offsets.size();
    std::size_t first = 0;
    weights[0] = 1.0;
    for (std::size_t a = 0; a + 1 < grid.axes.size(); ++a) {
        Axis const axis = grid.axes[a];
        auto const [index, upperWeight] = locate(self.searches_[axis.dimension], axis.dimension);
        Value const lowerWeight = 1.0 - upperWeight;
        first += static_cast<std::size_t>(index) * axis.stride;
        // Downward, so that a weight is read before its place is used.
        for (std::size_t k = std::size_t{1} << a; k-- > 0;) {
            Value const weight = weights[k];
            weights[2 * k] = lowerWeight * weight;
            weights[2 * k + 1] = upperWeight * weight;
        }
    }
    Axis const axis = grid.axes.back();
    auto const place = locate(self.searches_[axis.dimension], axis.dimension);
    Value const upperWeight = place.fraction;
    Value const lowerWeight = 1.0 - upperWeight;
    first += static_cast<std::size_t>(place.index) * axis.stride;
    return self.sumTables(first, [&](Value const* cell) {
        Value sum = 0.0;
        for (std::size_t k = 0; k < pairCount; ++k) {
            Value const* const corner = cell + offsets[k];
            sum += lowerWeight * weights[k] * corner[0];
            sum += upperWeight * weights[k] * corner[axis.stride];
        }
        return sum;
    });
}

// `sumCell(cell)` interpolates one table, in which the cell's first corner is at
// `cell`, the position `first`.
template <class Value>
template <class SumCell>
[[gnu::always_inline]] inline std::vector<Value> const& KrInterpolator<Value>::sumTables(
    std::size_t first, SumCell sumCell) const {
    Grid const& grid = *grid_;
    Value* result = result_->data();
    if (first < grid.room) {
        for (std::vector<Value> const& table : tables_) {
            *result++ = sumCell(table.data() + first);
        }
    } else {
        for (std::vector<Value> const& table : tables_) {
            bool const isInside = first < roomIn(table, grid.span);
            *result++ = isInside ? sumCell(table.data() + first) : nan<Value>;
        }
    }
    return *result_;
}

template class KrInterpolator<double>;
