#pragma once

#include "foundation/core/KrTypes.h"
#include "function/composite/KrVectorSearch.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

/// The grid and the tables of an interpolator, which never change. Each value has the bits of the
/// interpolator's first look-up: weights and sums have its order of operations.
///
/// Points are evaluated 16 at a time. Each step of a bisection is done for all of them, so that
/// their cache misses overlap.
class KrFrozenGrid {
public:
    /// Points in rows, and the rows for their values and gradients.
    struct Rows {
        double const* points;
        std::size_t pointSize;  // the rest of a point that is shorter than the grid is NaN
        double* values;
        std::size_t valueCount;  // of a row; those that the grid lacks become NaN
        double* gradients;       // null: not wanted
        std::size_t domainDim;   // of each value's gradient
    };

    /// The number of a row.
    using Row = std::uint32_t;

    /// Copies the tables and shares the breakpoints.
    explicit KrFrozenGrid(KrInterpolator<double> const& table);

    /// Returns whether every search option is one of the three. If not, prints a message.
    static bool isDefined(KrInterpolator<double> const& table);

    std::size_t domainDim() const { return domainDim_; }
    std::size_t valueCount() const { return tables_.size(); }

    /// Evaluates the rows of these numbers.
    void evaluate(Rows const& rows, std::span<Row const> numbers) const;

    /// Evaluates row 0.
    void evaluate(Rows const& rows) const {
        constexpr Row number = 0;
        if (Evaluation const evaluateOne = evaluateOne_[rows.gradients != nullptr];
            evaluateOne && rows.valueCount == tables_.size()) [[likely]] {
            evaluateOne(*this, rows, &number, 1);
        } else {
            evaluate(rows, std::span(&number, 1));
        }
    }

    /// Sets the values of a row from `first` to before `last` to NaN, and their gradients.
    static void setNaN(Rows const& rows, Row number, std::size_t first, std::size_t last);

private:
    static constexpr std::size_t lanes_ = 16;
    static constexpr std::size_t mostAxes = 64;  // more have more corners than memory has values

    enum class End { None, Lower, Upper };

    // A dimension of at least two breakpoints.
    struct Axis {
        Axis(KrVectorSearch<double> const& search, std::size_t dimension, std::size_t stride);

        End endAt(double x) const;
        template <std::size_t lanes>
        bool contain(std::array<double, lanes> const& x) const;
        template <std::size_t lanes>
        std::array<std::uint32_t, lanes> segmentsOf(std::array<double, lanes> const& x) const;

        template <std::size_t lanes>
        std::array<std::uint32_t, lanes> segmentsAnywhere(std::array<double, lanes> const& x) const;

        enum class Strategy { Ascending, Descending, EqualSpaced, Unordered };
        Strategy strategy;
        bool limitsLower, limitsUpper;
        std::shared_ptr<KrSegments::Table<double> const> table;
        double const* breakpoints;
        std::uint32_t maxIndex;
        double direction, spacing;
        double lower, upper;  // direction times the first and the last breakpoint
        std::size_t dimension, stride;
    };
    struct Table {
        std::vector<double> values;
        std::size_t wholeCells;  // the positions that are the first corner of a cell inside
    };

    // Where several points are.
    template <std::size_t lanes, std::size_t axes>
    struct Located;

    using Evaluation = void (*)(KrFrozenGrid const&, Rows const&, Row const*, std::size_t);

    template <bool withGradient>
    void chooseEvaluations();
    template <std::size_t inner, bool hasOuter, bool withGradient>
    void chooseEvaluations();
    template <bool withGradient, std::size_t lanes, std::size_t axes>
    void locate(Rows const& rows, Row const* numbers, std::size_t count,
                Located<lanes, axes>& at) const;
    template <std::size_t lanes, std::size_t inner, bool hasOuter, bool withGradient>
    static void evaluateSideBySide(KrFrozenGrid const& grid, Rows const& rows, Row const* numbers,
                                   std::size_t count);
    template <class Real, std::size_t inner, bool hasOuter, class At, class Visit>
    void forEachCell(At const& at, std::size_t lane, Visit visit) const;
    template <class Real, std::size_t inner, bool hasOuter, std::size_t tables, class At>
    std::array<Real, tables> sum(At const& at, std::size_t first, std::size_t t) const;
    template <class Real, std::size_t inner, bool hasOuter, class At>
    void sumWithSlopes(At const& at, std::size_t first, std::size_t t, Real& sum,
                       Real* slopes) const;

    template <class SlopeAlong>
    void storeGradient(Rows const& rows, std::size_t row, std::size_t t, std::size_t axes,
                       SlopeAlong slopeAlong) const;

    std::size_t domainDim_;
    std::vector<Axis> axes_;
    std::vector<Table> tables_;
    std::size_t wholeCells_ = 0;  // of the shortest table
    bool isWhole_ = false;        // every table has every cell
    // By whether gradients are wanted; null: every value is NaN.
    std::array<Evaluation, 2> evaluateOne_{};
    std::array<Evaluation, 2> evaluateBlock_{};
};
