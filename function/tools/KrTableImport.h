#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "function/composite/KrTableFunctionInterpolator.h"

#include <iosfwd>
#include <string>
#include <vector>

/// Makes a table of a grid that a spreadsheet or a script has written in rows. Each row is one
/// grid point: its coordinates, then its values. `KrCsvReader` states what a file looks like.
///
///     alpha,Mach,lift,drag
///     deg,-,-,-
///     0,0.2,0.10,0.015
///     4,0.2,0.45,0.022
///     0,0.8,0.12,0.019
///     4,0.8,0.55,0.035
///
///     KrTableImport import(2);
///     import.axes()[0].searchOption = KrVectorSearchEnums::EQUAL_SPACED;
///     KrTableFunctionInterpolator table;
///     if (import.read("wing.csv", table)) ...
///
/// Rows may stand in any order. The breakpoints of an axis are the distinct numbers in its column,
/// ascending. Each further column becomes a table.
///
/// These are refused, each with its line:
/// - a grid point without a row, or with two rows;
/// - an infinite number or NaN, and all that `KrCsvReader` refuses;
/// - two coordinates of an axis that differ by at most 8 units in their last place. If the steps
///   around them are a million times larger, the last place is that of the largest coordinate;
/// - if rows are missing, two coordinates closer than a millionth of the axis, of which one has
///   rows that the other lacks;
/// - an axis whose steps differ, if its search is `EQUAL_SPACED`. Steps may differ by 4 units in
///   the last place of the largest coordinate. Since look-ups divide by the first step, its
///   multiples must meet every coordinate within 1/1024 of that step;
/// - a file without a value column, and more than 64 axes.
///
/// Use one object in one thread at a time.
///
/// Cost for a row of five numbers: about 0.5 µs, and 190 bytes at the peak, the table included.
/// Memory is in proportion to the rows, never to the grid that they span.
class KR_EXPORT KrTableImport {
public:
    /// The options of one axis, those of `KrTableFunctionVectorSearch`.
    struct Axis {
        /// How the segment is found.
        KrVectorSearchEnums::SEARCH_OPTION searchOption = KrVectorSearchEnums::BISECTION;
        /// The behaviour below the smallest breakpoint.
        KrVectorSearchEnums::BOUNDARY_OPTION lowerBoundaryOption = KrVectorSearchEnums::LIMIT;
        /// The behaviour beyond the largest breakpoint.
        KrVectorSearchEnums::BOUNDARY_OPTION upperBoundaryOption = KrVectorSearchEnums::LIMIT;
    };

    /// An import of grids whose first `axes` columns are coordinates. Admissible: 1 to 64. `read`
    /// refuses other numbers.
    explicit KrTableImport(KrU32 axes) : axes_(axes) {}

    /// The axes in the order of their columns; the first varies fastest in the table.
    std::vector<Axis>& axes() { return axes_; }
    std::vector<Axis> const& axes() const { return axes_; }

    /// Whether numbers have a decimal comma. Default: false.
    KrBoolean decimalComma() const { return decimalComma_; }
    void setDecimalComma(KrBoolean isComma) { decimalComma_ = isComma; }

    /// Reads the file `path` into `table`, ready for evaluation. If the result is false, messages
    /// have been printed through `Kr::Print`, and `table` keeps its value.
    KrBoolean read(std::string const& path, KrTableFunctionInterpolator& table);
    /// Reads from `stream` in the same way. Messages call the file `fileName`.
    KrBoolean read(std::istream& stream, std::string const& fileName,
                   KrTableFunctionInterpolator& table);

    /// The header of the file that was read last: the names of the axes, then of the values. Empty
    /// if it has none.
    std::vector<std::string> const& names() const { return names_; }
    /// The units of that file in the same order; the last may be lacking. Empty if it has none.
    std::vector<std::string> const& units() const { return units_; }

private:
    std::vector<Axis> axes_;
    bool decimalComma_ = false;
    std::vector<std::string> names_;
    std::vector<std::string> units_;
};
