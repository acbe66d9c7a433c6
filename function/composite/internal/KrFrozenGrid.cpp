#include "function/composite/internal/KrFrozenGrid.h"

#include "foundation/core/KrPrint.h"
#include "function/composite/KrInterpolator.h"
#include "function/composite/internal/KrCellCorners.h"
#include "function/composite/internal/KrSegments.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>
#include <utility>

KR_SOURCE_VERSION;

namespace {

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// Four values, which are computed side by side: their chains of additions overlap.
class Pack {
public:
    static constexpr std::size_t size = 4;

    Pack() = default;
    Pack(double value) { pairs_.fill(Pair{value, value}); }
    Pack(double a, double b, double c, double d) : pairs_{Pair{a, b}, Pair{c, d}} {}

    double operator[](std::size_t i) const { return pairs_[i / 2][i % 2]; }

    Pack& operator+=(Pack const& other) { return *this = *this + other; }
    friend Pack operator+(Pack const& a, Pack const& b) { return of(a, b, std::plus<>()); }
    friend Pack operator-(Pack const& a, Pack const& b) { return of(a, b, std::minus<>()); }
    friend Pack operator*(Pack const& a, Pack const& b) { return of(a, b, std::multiplies<>()); }

private:
    typedef double Pair __attribute__((vector_size(2 * sizeof(double))));

    template <class Operation>
    static Pack of(Pack const& a, Pack const& b, Operation operation) {
        Pack result;
        for (std::size_t i = 0; i < result.pairs_.size(); ++i) {
            result.pairs_[i] = operation(a.pairs_[i], b.pairs_[i]);
        }
        return result;
    }

    std::array<Pair, size / 2> pairs_;  // not initialised: some arrays of packs are long
};

template <class Real>
constexpr std::size_t sizeOf = 1;
template <>
constexpr std::size_t sizeOf<Pack> = Pack::size;

// Returns the values of `valueOf(0)`, `valueOf(1)`, ... side by side.
template <class Real, class ValueOf>
[[gnu::always_inline]] inline Real gather(ValueOf valueOf) {
    return [&]<std::size_t... i>(std::index_sequence<i...>) { return Real{valueOf(i)...}; }
    (std::make_index_sequence<sizeOf<Real>>());
}

template <class Real>
[[gnu::always_inline]] inline double lane(Real const& values, std::size_t i) {
    if constexpr (sizeOf<Real> == 1) {
        return values;
    } else {
        return values[i];
    }
}

// Returns where the cells of the lanes from `first` on begin in a table.
template <class Real, class At>
[[gnu::always_inline]] inline auto cellsOf(At const& at, std::size_t first, double const* table) {
    std::array<double const*, sizeOf<Real>> cells;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        cells[i] = table + at.first[first + i];
    }
    return cells;
}

}  // namespace

template <std::size_t lanes, std::size_t axes>
struct KrFrozenGrid::Located {
    std::array<std::size_t, lanes> first;  // the position of the cell's first corner
    std::array<std::array<double, lanes>, axes> fraction;
    // The width of the cell: NaN if it has none, infinity where the value is held.
    std::array<std::array<double, lanes>, axes> width;
};

KrFrozenGrid::Axis::Axis(KrVectorSearch<double> const& search, std::size_t theDimension,
                         std::size_t theStride)
    : strategy(search.searchOption_ == KrVectorSearchEnums::EQUAL_SPACED ? Strategy::EqualSpaced
               : !search.monotone_                                       ? Strategy::Unordered
               : search.direction_ > 0.0                                 ? Strategy::Ascending
                                                                         : Strategy::Descending),
      limitsLower(search.lowerBoundaryOption_ == KrVectorSearchEnums::LIMIT),
      limitsUpper(search.upperBoundaryOption_ == KrVectorSearchEnums::LIMIT),
      table(search.table_),
      breakpoints(search.vector_),
      maxIndex(static_cast<std::uint32_t>(search.maxIndex_)),
      direction(search.direction_),
      spacing(search.spacing_),
      lower(direction * breakpoints[0]),
      upper(direction * breakpoints[maxIndex + 1]),
      dimension(theDimension),
      stride(theStride) {}

// Returns the end at or beyond which x is. A NaN is at none.
inline auto KrFrozenGrid::Axis::endAt(double x) const -> End {
    double const sx = direction * x;
    return lower >= sx ? End::Lower : sx >= upper ? End::Upper : End::None;
}

// Returns whether every x is between the ends and no NaN. It has no branches.
template <std::size_t lanes>
[[gnu::always_inline]] inline bool KrFrozenGrid::Axis::contain(
    std::array<double, lanes> const& x) const {
    unsigned all = 1;
    for (std::size_t l = 0; l < lanes; ++l) {
        double const sx = direction * x[l];
        all &= static_cast<unsigned>(lower < sx) & static_cast<unsigned>(sx < upper);
    }
    return all != 0;
}

// Returns the segments that the search option finds. In a monotone table each x must be inside.
template <std::size_t lanes>
[[gnu::always_inline]] inline auto KrFrozenGrid::Axis::segmentsOf(
    std::array<double, lanes> const& x) const -> std::array<std::uint32_t, lanes> {
    if (strategy == Strategy::Ascending) {
        return table->bisect(x, std::greater<>());
    }
    if (strategy == Strategy::Descending) {
        return table->bisect(x, std::less<>());
    }
    std::array<std::uint32_t, lanes> segments;
    for (std::size_t l = 0; l < lanes; ++l) {
        segments[l] = static_cast<std::uint32_t>(
            strategy == Strategy::EqualSpaced
                ? KrSegments::bySpacing(breakpoints, maxIndex, spacing, x[l])
                : KrSegments::bisectUnordered(breakpoints, maxIndex, direction, direction * x[l]));
    }
    return segments;
}

// Returns the segment of each x, which may be anywhere.
template <std::size_t lanes>
[[gnu::noinline]] auto KrFrozenGrid::Axis::segmentsAnywhere(
    std::array<double, lanes> const& x) const -> std::array<std::uint32_t, lanes> {
    std::array<double, lanes> held = x;
    if (strategy == Strategy::Ascending || strategy == Strategy::Descending) {
        for (double& inside : held) {
            bool const isInside = endAt(inside) == End::None && !std::isnan(inside);
            inside = isInside ? inside : breakpoints[0];
        }
    }
    auto segments = segmentsOf(held);
    for (std::size_t l = 0; l < lanes; ++l) {
        End const end = endAt(x[l]);
        segments[l] = end == End::None ? segments[l] : end == End::Lower ? 0 : maxIndex;
    }
    return segments;
}

KrFrozenGrid::KrFrozenGrid(KrInterpolator<double> const& table)
    : domainDim_(table.searches_.size()) {
    std::size_t points = 1;
    std::size_t span = 0;  // from the first corner of a cell to its last
    bool fits = true;
    axes_.reserve(domainDim_);
    for (std::size_t d = 0; d < domainDim_; ++d) {
        std::size_t const size = table.searches_[d].size_;
        if (size > 1) {
            axes_.emplace_back(table.searches_[d], d, points);
            span += points;
        }
        fits = fits && size > 0 && !__builtin_mul_overflow(points, size, &points);
    }
    std::size_t longest = 0;
    wholeCells_ = std::numeric_limits<std::size_t>::max();
    tables_.reserve(table.tables_.size());
    for (std::vector<double> const& values : table.tables_) {
        std::size_t const wholeCells = values.size() - std::min(values.size(), span);
        tables_.push_back({values, wholeCells});
        wholeCells_ = std::min(wholeCells_, wholeCells);
        longest = std::max(longest, values.size());
    }
    isWhole_ = wholeCells_ >= points - span;
    if (fits && axes_.size() < mostAxes && std::size_t{1} << axes_.size() <= longest) {
        chooseEvaluations<false>();
        chooseEvaluations<true>();
    }
}

bool KrFrozenGrid::isDefined(KrInterpolator<double> const& table) {
    for (KrVectorSearch<double> const& search : table.searches_) {
        switch (search.searchOption_) {
            case KrVectorSearchEnums::LINEAR:
            case KrVectorSearchEnums::BISECTION:
            case KrVectorSearchEnums::EQUAL_SPACED: continue;
        }
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "A table with the search option %d cannot be frozen.\n",
                                    search.searchOption_);
        return false;
    }
    return true;
}

void KrFrozenGrid::setNaN(Rows const& rows, Row number, std::size_t first, std::size_t last) {
    double* const values = rows.values + number * rows.valueCount;
    std::fill(values + first, values + last, notANumber);
    if (rows.gradients) {
        double* const gradients = rows.gradients + number * rows.valueCount * rows.domainDim;
        std::fill(gradients + first * rows.domainDim, gradients + last * rows.domainDim,
                  notANumber);
    }
}

void KrFrozenGrid::evaluate(Rows const& rows, std::span<Row const> numbers) const {
    bool const withGradient = rows.gradients != nullptr;
    Evaluation const evaluateOne = evaluateOne_[withGradient];
    if (!evaluateOne || valueCount() < rows.valueCount) {
        for (Row const number : numbers) {
            setNaN(rows, number, evaluateOne ? valueCount() : 0, rows.valueCount);
        }
        if (!evaluateOne) {
            return;
        }
    }
    while (numbers.size() >= lanes_) {
        evaluateBlock_[withGradient](*this, rows, numbers.data(), lanes_);
        numbers = numbers.subspan(lanes_);
    }
    constexpr std::size_t leastForBlock = 4;
    if (numbers.size() >= leastForBlock) {
        std::array<Row, lanes_> padded;
        padded.fill(numbers[0]);
        std::ranges::copy(numbers, padded.begin());
        evaluateBlock_[withGradient](*this, rows, padded.data(), numbers.size());
        return;
    }
    for (Row const& number : numbers) {
        evaluateOne(*this, rows, &number, 1);
    }
}

// One function for each number of axes, so that corners stay in registers up to three axes.
template <bool withGradient>
void KrFrozenGrid::chooseEvaluations() {
    switch (axes_.size()) {
        case 0: return chooseEvaluations<0, false, withGradient>();
        case 1: return chooseEvaluations<1, false, withGradient>();
        case 2: return chooseEvaluations<2, false, withGradient>();
        case 3: return chooseEvaluations<3, false, withGradient>();
        default: return chooseEvaluations<3, true, withGradient>();
    }
}

template <std::size_t inner, bool hasOuter, bool withGradient>
void KrFrozenGrid::chooseEvaluations() {
    evaluateOne_[withGradient] = evaluateSideBySide<1, inner, hasOuter, withGradient>;
    evaluateBlock_[withGradient] = evaluateSideBySide<lanes_, inner, hasOuter, withGradient>;
}

// Locates points on the first `count` axes. Each loop is short, so that the compiler vectorizes it
// or overlaps its steps.
template <bool withGradient, std::size_t lanes, std::size_t axes>
[[gnu::always_inline]] inline void KrFrozenGrid::locate(Rows const& rows, Row const* numbers,
                                                        std::size_t count,
                                                        Located<lanes, axes>& at) const {
    if (count == 0) {
        at.first.fill(0);
    }
    std::array<double const*, lanes> points;
    for (std::size_t l = 0; l < lanes; ++l) {
        points[l] = rows.points + numbers[l] * rows.pointSize;
    }
    for (std::size_t a = 0; a < count; ++a) {
        Axis const& axis = axes_[a];
        std::array<double, lanes> x;
        if (axis.dimension < rows.pointSize) {
            for (std::size_t l = 0; l < lanes; ++l) {
                x[l] = points[l][axis.dimension];
            }
        } else {
            x.fill(notANumber);
        }
        bool const areInside = axis.contain(x);
        std::array<std::uint32_t, lanes> segment;
        if (areInside) {
            segment = axis.segmentsOf(x);
        } else {
            segment = axis.segmentsAnywhere(x);
        }
        double const* const v = axis.breakpoints;
        std::array<double, lanes>& fraction = at.fraction[a];
        std::array<double, lanes> origin;
        std::array<double, lanes> width;
        for (std::size_t l = 0; l < lanes; ++l) {
            origin[l] = v[segment[l]];
            width[l] = v[segment[l] + 1];
        }
        std::size_t const stride = axis.stride;
        for (std::size_t l = 0; l < lanes; ++l) {
            at.first[l] = (a == 0 ? 0 : at.first[l]) + segment[l] * stride;
        }
        for (std::size_t l = 0; l < lanes; ++l) {
            width[l] -= origin[l];
            fraction[l] = (x[l] - origin[l]) / width[l];
        }
        if constexpr (withGradient) {
            for (std::size_t l = 0; l < lanes; ++l) {
                at.width[a][l] = width[l] == 0.0 ? notANumber : width[l];
            }
        }
        if (areInside) {
            continue;
        }
        for (std::size_t l = 0; l < lanes; ++l) {
            End const end = axis.endAt(x[l]);
            if ((end == End::Lower && axis.limitsLower) ||
                (end == End::Upper && axis.limitsUpper)) {
                fraction[l] = end == End::Lower ? 0.0 : 1.0;
                double const sx = axis.direction * x[l];
                if (withGradient && (axis.lower > sx || sx > axis.upper)) {
                    at.width[a][l] = infinity;
                }
            }
        }
    }
}

// Calls `visit(corners, offset, weights, number)` for the corners of each value of the outer axes,
// in order. The outer axes are all but the last `inner`; without them there is one call.
template <class Real, std::size_t inner, bool hasOuter, class At, class Visit>
[[gnu::always_inline]] inline void KrFrozenGrid::forEachCell(At const& at, std::size_t lane,
                                                             Visit visit) const {
    using Corners = KrCellCorners<Real, inner>;
    std::size_t const outer = hasOuter ? axes_.size() - inner : 0;
    auto const fractionOf = [&](std::size_t axis) {
        return gather<Real>([&](std::size_t i) { return at.fraction[axis][lane + i]; });
    };
    auto const weigh = [&](Corners& corners) {
        Corners::forEachAxis(
            [&](auto a) { corners.weigh(a, axes_[outer + a].stride, fractionOf(outer + a)); });
    };
    if constexpr (!hasOuter) {
        Corners corners;
        weigh(corners);
        visit(corners, 0, nullptr, 0);
    } else {
        std::array<Real, mostAxes> weights;
        std::array<std::size_t, mostAxes> offsets;
        weights[0] = Real(1.0);
        offsets[0] = 0;
        std::size_t changed = 0;  // the first axis whose corner is another one
        for (std::size_t number = 0; number >> outer == 0; ++number) {
            for (std::size_t a = changed; a < outer; ++a) {
                bool const isUpper = number >> (outer - 1 - a) & 1;
                Real const fraction = fractionOf(a);
                weights[a + 1] = (isUpper ? fraction : 1.0 - fraction) * weights[a];
                offsets[a + 1] = offsets[a] + (isUpper ? axes_[a].stride : 0);
            }
            Corners corners(weights[outer]);
            weigh(corners);
            visit(corners, offsets[outer], weights.data(), number);
            changed = outer - 1 - static_cast<std::size_t>(std::countr_one(number));
        }
    }
}

// Sums the values of tables `t`, `t + 1`, ... at the corners, for the lanes from `first` on.
template <class Real, std::size_t inner, bool hasOuter, std::size_t tables, class At>
[[gnu::always_inline]] inline auto KrFrozenGrid::sum(At const& at, std::size_t first,
                                                     std::size_t t) const
    -> std::array<Real, tables> {
    std::array<Real, tables> sums{};
    forEachCell<Real, inner, hasOuter>(
        at, first, [&](auto const& corners, std::size_t offset, auto, auto) {
            for (std::size_t k = 0; k < tables; ++k) {
                auto const cells = cellsOf<Real>(at, first, tables_[t + k].values.data() + offset);
                corners.addTo(sums[k], [&](std::size_t corner) {
                    return gather<Real>([&](std::size_t i) { return cells[i][corner]; });
                });
            }
        });
    return sums;
}

// Sums likewise, and interpolates the differences of the corners along each axis. The pairs of
// corners along the last axis are joined first; a pair's difference counts with the weight of its
// place on the axes before. So a gradient costs five operations for each corner.
template <class Real, std::size_t inner, bool hasOuter, class At>
[[gnu::always_inline]] inline void KrFrozenGrid::sumWithSlopes(At const& at, std::size_t first,
                                                               std::size_t t, Real& sum,
                                                               Real* slopes) const {
    using Corners = KrCellCorners<Real, inner>;
    std::size_t const outer = hasOuter ? axes_.size() - inner : 0;
    std::array<Real, hasOuter ? mostAxes : 1> lower;  // values that wait for their upper ones
    std::fill(slopes, slopes + outer + inner, Real{});
    auto const join = [&](std::size_t axis, Real const& weight, Real const& a, Real const& b) {
        Real const fraction =
            gather<Real>([&](std::size_t i) { return at.fraction[axis][first + i]; });
        Real const difference = b - a;
        slopes[axis] += weight * difference;
        return a + fraction * difference;
    };
    forEachCell<Real, inner, hasOuter>(
        at, first,
        [&](Corners const& corners, std::size_t offset, Real const* weights, std::size_t number) {
            auto const cells = cellsOf<Real>(at, first, tables_[t].values.data() + offset);
            std::array<Real, 2 * Corners::count> values;
            for (std::size_t m = Corners::count; m < 2 * Corners::count; ++m) {
                values[m] =
                    gather<Real>([&](std::size_t i) { return cells[i][corners.offset(m)]; });
                sum += corners.weight(m) * values[m];
            }
            Corners::forEachAxis([&](auto reversed) {
                constexpr std::size_t a = inner - 1 - reversed;
                for (std::size_t m = std::size_t{1} << a; m < std::size_t{2} << a; ++m) {
                    values[m] =
                        join(outer + a, corners.weight(m), values[2 * m], values[2 * m + 1]);
                }
            });
            if constexpr (hasOuter) {
                std::size_t axis = outer;
                for (; axis > 0 && number & 1; number >>= 1) {
                    --axis;
                    values[1] = join(axis, weights[axis], lower[axis], values[1]);
                }
                if (axis > 0) {
                    lower[axis - 1] = values[1];
                }
            }
        });
}

// Evaluates the rows of `lanes` numbers, and stores the results of the first `count`.
template <std::size_t lanes, std::size_t inner, bool hasOuter, bool withGradient>
void KrFrozenGrid::evaluateSideBySide(KrFrozenGrid const& grid, Rows const& rows,
                                      Row const* numbers, std::size_t count) {
    using Real = std::conditional_t<lanes == 1, double, Pack>;
    std::size_t const axisCount = hasOuter ? grid.axes_.size() : inner;
    Located<lanes, hasOuter ? mostAxes : inner> at;
    grid.locate<withGradient>(rows, numbers, axisCount, at);
    bool const isInside = grid.isWhole_ || *std::ranges::max_element(at.first) < grid.wholeCells_;
    if (lanes > 1 && !isInside) {
        for (std::size_t l = 0; l < count; ++l) {
            grid.evaluateOne_[withGradient](grid, rows, numbers + l, 1);
        }
        return;
    }
    for (std::size_t first = 0; first < count; first += sizeOf<Real>) {
        std::size_t const used = std::min(count - first, sizeOf<Real>);
        auto const store = [&](std::size_t t, Real const& values) {
            for (std::size_t i = 0; i < used; ++i) {
                rows.values[numbers[first + i] * rows.valueCount + t] = lane(values, i);
            }
        };
        std::size_t t = 0;
        if constexpr (!withGradient) {
            constexpr std::size_t tables = 4;  // the corners are weighed once for so many
            for (; isInside && t + tables <= grid.tables_.size(); t += tables) {
                auto const sums = grid.sum<Real, inner, hasOuter, tables>(at, first, t);
                for (std::size_t k = 0; k < tables; ++k) {
                    store(t + k, sums[k]);
                }
            }
        }
        for (; t < grid.tables_.size(); ++t) {
            if (!isInside && at.first[0] >= grid.tables_[t].wholeCells) {
                grid.setNaN(rows, numbers[first], t, t + 1);
            } else if constexpr (!withGradient) {
                store(t, grid.sum<Real, inner, hasOuter, 1>(at, first, t)[0]);
            } else {
                std::array<Real, hasOuter ? mostAxes : inner + 1> slopes;
                Real sum{};
                grid.sumWithSlopes<Real, inner, hasOuter>(at, first, t, sum, slopes.data());
                store(t, sum);
                for (std::size_t i = 0; i < used; ++i) {
                    grid.storeGradient(rows, numbers[first + i], t, axisCount, [&](std::size_t a) {
                        double const width = at.width[a][first + i];
                        return width == infinity ? 0.0 : lane(slopes[a], i) / width;
                    });
                }
            }
        }
    }
}

// Stores the gradient of a value that was stored before. `slopeAlong` returns its component on an
// axis; the other coordinates do not change the value.
template <class SlopeAlong>
[[gnu::always_inline]] inline void KrFrozenGrid::storeGradient(Rows const& rows, std::size_t row,
                                                               std::size_t t, std::size_t axes,
                                                               SlopeAlong slopeAlong) const {
    double* const gradient = rows.gradients + (row * rows.valueCount + t) * rows.domainDim;
    bool const isNaN = std::isnan(rows.values[row * rows.valueCount + t]);
    if (isNaN || rows.domainDim > axes) {
        std::fill(gradient, gradient + rows.domainDim, isNaN ? notANumber : 0.0);
    }
    for (std::size_t a = 0; !isNaN && a < axes; ++a) {
        gradient[axes_[a].dimension] = slopeAlong(a);
    }
}
