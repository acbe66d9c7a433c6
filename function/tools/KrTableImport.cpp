#include "function/tools/KrTableImport.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlReplace.h"
#include "function/tools/KrCsvReader.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <system_error>
#include <utility>

KR_SOURCE_VERSION;

namespace {

// Readers of documents take no more.
constexpr std::size_t mostAxes = 64;
constexpr std::size_t mostMissing = 10;
constexpr double roundingUnits = 8.0 * std::numeric_limits<double>::epsilon();
// Each end of a step is off by half a unit.
constexpr double stepUnits = 4.0 * std::numeric_limits<double>::epsilon();
// A look-up divides by the first step. Nearer than this to a breakpoint, in steps, the quotient
// may lie in the next segment.
constexpr double positionShare = 0x1p-10;
constexpr double farSteps = 1e6;
constexpr double closeShare = 1e-6;

std::string textOf(double number) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(number, room));
}

double magnitude(double a, double b) { return std::max(std::abs(a), std::abs(b)); }

// Whether breakpoint `k` is the one before it but for rounding. Near 0 the numbers around them
// have been rounded, so that their magnitude counts if the steps on both sides are far larger.
bool differByRounding(KrRealVector const& all, std::size_t k) {
    double const gap = all[k] - all[k - 1];
    if (gap <= roundingUnits * magnitude(all[k - 1], all[k])) {
        return true;
    }
    bool const isFarBelow = k == 1 || all[k - 1] - all[k - 2] >= farSteps * gap;
    bool const isFarAbove = k + 1 == all.size() || all[k + 1] - all[k] >= farSteps * gap;
    return isFarBelow && isFarAbove && gap < roundingUnits * magnitude(all.front(), all.back());
}

// The grid that the rows of a file span.
class Grid {
public:
    Grid(KrCsvReader& reader, std::size_t axes) : reader_(reader), axes_(axes) {}

    /// Reads all rows. False if anything was refused.
    bool readRows();
    /// Finds the breakpoints. False if two of an axis differ by rounding alone.
    bool findBreakpoints();
    /// Finds the place of each row in the tables. False if the rows are not those of the grid.
    bool sortRows();
    /// Refuses an axis whose steps differ.
    bool isEqualSpaced(std::size_t axis);

    /// The breakpoints of an axis.
    KrRealVector const& breakpoints(std::size_t axis) const { return axes_[axis].breakpoints; }
    /// The table of a value column.
    KrRealVector table(std::size_t column) const;

private:
    struct Axis {
        KrRealVector breakpoints;
        std::vector<std::size_t> firstRows;  // the first row of each
        std::vector<std::size_t> rowCounts;  // how many rows have it
    };
    // A row and its place in a table.
    struct Place {
        std::uint64_t place;
        std::size_t row;
        bool operator<(Place const& other) const {
            return place != other.place ? place < other.place : row < other.row;
        }
    };

    std::size_t rows() const { return lines_.size(); }
    double number(std::size_t row, std::size_t column) const {
        return numbers_[row * reader_.columns() + column];
    }
    std::size_t indexOf(std::size_t axis, double coordinate) const;
    bool refuseTwice(Place const& first, Place const& second);
    void refuseMissing(std::uint64_t place, std::size_t line, char const* where);
    bool refuseCount();
    bool refuseColumns();
    std::string sizes() const;
    bool refuseClosePair();
    bool refuseTwins(std::size_t axis, std::size_t above, std::string const& how);

    KrCsvReader& reader_;
    std::vector<Axis> axes_;
    KrRealVector numbers_;            // row-major
    std::vector<std::size_t> lines_;  // of each row
    std::vector<Place> places_;       // ascending
};

// The fault is in the first row: a title, or a separator that the others do not have.
bool Grid::refuseColumns() {
    auto const counted = [](std::size_t count, std::string const& noun) {
        return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
    };
    char const separator = reader_.separator();
    std::string found = counted(reader_.columns(), "column") + " separated by " +
                        (separator == '\t'  ? "tabs"
                         : separator == ';' ? "semicolons"
                                            : "commas");
    if (reader_.size() > reader_.columns()) {
        found +=
            "; line " + std::to_string(reader_.line()) + " has " + std::to_string(reader_.size());
    }
    return reader_.refuse(reader_.firstLine(),
                          "a value column behind " + counted(axes_.size(), "coordinate column"),
                          found);
}

bool Grid::readRows() {
    if (!reader_.readHeader()) {
        return reader_.errorCount() == 0 &&
               reader_.refuse("a row of numbers", "the end of the file");
    }
    if (reader_.columns() <= axes_.size()) {
        return refuseColumns();
    }
    KrRealVector row;
    while (reader_.nextNumbers(row)) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (!std::isfinite(row[i])) {
                reader_.refuse("a finite number in " + reader_.describe(i),
                               krXmlQuoted(reader_.field(i)));
            }
        }
        numbers_.insert(numbers_.end(), row.begin(), row.end());
        lines_.push_back(reader_.line());
    }
    return reader_.errorCount() == 0;
}

std::size_t Grid::indexOf(std::size_t axis, double coordinate) const {
    KrRealVector const& all = axes_[axis].breakpoints;
    return static_cast<std::size_t>(std::lower_bound(all.begin(), all.end(), coordinate) -
                                    all.begin());
}

bool Grid::findBreakpoints() {
    for (std::size_t d = 0; d < axes_.size(); ++d) {
        Axis& axis = axes_[d];
        KrRealVector& all = axis.breakpoints;
        for (std::size_t row = 0; row < rows(); ++row) {
            all.push_back(number(row, d) + 0.0);  // -0 becomes 0
        }
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        axis.firstRows.resize(all.size());
        axis.rowCounts.resize(all.size());
        for (std::size_t row = rows(); row-- > 0;) {
            std::size_t const index = indexOf(d, number(row, d));
            axis.firstRows[index] = row;
            ++axis.rowCounts[index];
        }
        for (std::size_t k = 1; k < all.size(); ++k) {
            if (!differByRounding(all, k)) {
                continue;
            }
            refuseTwins(d, k, "by rounding; round both");
        }
    }
    return reader_.errorCount() == 0;
}

bool Grid::refuseTwice(Place const& first, Place const& second) {
    return reader_.refuse(lines_[second.row], "another grid point in each row",
                          "that of line " + std::to_string(lines_[first.row]));
}

void Grid::refuseMissing(std::uint64_t place, std::size_t line, char const* where) {
    std::string point;
    for (std::size_t d = 0; d < axes_.size(); ++d) {
        KrRealVector const& all = axes_[d].breakpoints;
        point +=
            (d == 0 ? "" : ", ") + reader_.describe(d) + " = " + textOf(all[place % all.size()]);
        place /= all.size();
    }
    reader_.refuse(line, "a row with " + point + ' ' + where + " this one", "none");
}

std::string Grid::sizes() const {
    std::string text;
    for (Axis const& axis : axes_) {
        text += (text.empty() ? "" : " x ") + std::to_string(axis.breakpoints.size());
    }
    return text;
}

// Refuses two coordinates that are probably meant as one: close, and one has the rows that the
// other lacks. True if there are none.
bool Grid::refuseClosePair() {
    std::size_t axis = 0;
    std::size_t above = 0;
    double closest = closeShare;
    for (std::size_t d = 0; d < axes_.size(); ++d) {
        auto const& [all, firstRows, rowCounts] = axes_[d];
        double rowsEach = 1.0;
        for (Axis const& other : axes_) {
            rowsEach *= static_cast<double>(other.breakpoints.size());
        }
        rowsEach /= static_cast<double>(all.size());
        for (std::size_t k = 1; k < all.size(); ++k) {
            double const share = (all[k] - all[k - 1]) / (all.back() - all.front());
            if (share < closest &&
                static_cast<double>(rowCounts[k - 1] + rowCounts[k]) <= rowsEach) {
                closest = share;
                axis = d;
                above = k;
            }
        }
    }
    return above == 0 || refuseTwins(axis, above, "by little; round both if they are one");
}

bool Grid::refuseTwins(std::size_t axis, std::size_t above, std::string const& how) {
    std::vector<std::size_t> const& rows = axes_[axis].firstRows;
    auto const [first, second] = std::minmax(rows[above - 1], rows[above]);
    return reader_.refuse(lines_[second],
                          textOf(number(first, axis)) + " in " + reader_.describe(axis) +
                              " as in line " + std::to_string(lines_[first]),
                          textOf(number(second, axis)) + ", which differs " + how);
}

bool Grid::refuseCount() {
    return reader_.refuse(lines_.back(), "a row for each point of a grid of " + sizes(),
                          std::to_string(rows()) + (rows() == 1 ? " row" : " rows"));
}

bool Grid::sortRows() {
    std::uint64_t points = 1;
    for (Axis const& axis : axes_) {
        if (__builtin_mul_overflow(points, std::uint64_t{axis.breakpoints.size()}, &points)) {
            return refuseClosePair() && refuseCount();
        }
    }
    if (rows() < points && !refuseClosePair()) {
        return false;
    }
    places_.resize(rows());
    for (std::size_t row = 0; row < rows(); ++row) {
        places_[row] = {0, row};
        for (std::size_t d = axes_.size(); d-- > 0;) {
            places_[row].place =
                places_[row].place * axes_[d].breakpoints.size() + indexOf(d, number(row, d));
        }
    }
    if (!std::is_sorted(places_.begin(), places_.end())) {
        std::sort(places_.begin(), places_.end());
    }
    std::size_t missing = 0;
    std::uint64_t next = 0;  // the place of the next row
    for (std::size_t i = 0; i < rows(); ++i) {
        auto const [place, row] = places_[i];
        if (i > 0 && place == places_[i - 1].place) {
            refuseTwice(places_[i - 1], places_[i]);
        }
        for (; next < place && missing < mostMissing; ++next, ++missing) {
            std::size_t const line = lines_[i == 0 ? row : places_[i - 1].row];
            refuseMissing(next, line, i == 0 ? "before" : "after");
        }
        next = place + 1;
    }
    for (; next < points && missing < mostMissing; ++next, ++missing) {
        refuseMissing(next, lines_[places_.back().row], "after");
    }
    if (missing > 0) {
        refuseCount();
    }
    return reader_.errorCount() == 0;
}

bool Grid::isEqualSpaced(std::size_t axis) {
    auto const& [all, firstRows, rowCounts] = axes_[axis];
    KrRealVector steps;
    for (std::size_t k = 1; k < all.size(); ++k) {
        steps.push_back(all[k] - all[k - 1]);
    }
    if (steps.empty()) {
        return true;
    }
    // The usual step, so that one wrong coordinate is found where it stands.
    auto const middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::nth_element(steps.begin(), middle, steps.end());
    double const tolerance = stepUnits * magnitude(all.front(), all.back());
    for (std::size_t k = 1; k < all.size(); ++k) {
        if (!(std::abs(all[k] - all[k - 1] - *middle) <= tolerance)) {
            return reader_.refuse(lines_[firstRows[k]],
                                  "steps of " + textOf(*middle) + " in " + reader_.describe(axis) +
                                      " for an equal_spaced search",
                                  textOf(all[k]) + " after " + textOf(all[k - 1]) +
                                      "; correct it, or choose bisection");
        }
    }
    double const first = all[1] - all[0];
    for (std::size_t k = 2; k < all.size(); ++k) {
        double const count = static_cast<double>(k);
        if (!(std::abs(all[k] - all[0] - count * first) <= positionShare * first)) {
            return reader_.refuse(lines_[firstRows[k]],
                                  std::to_string(k) + " times the first step, " + textOf(first) +
                                      ", above " + textOf(all[0]) + " in " +
                                      reader_.describe(axis) + " for an equal_spaced search",
                                  textOf(all[k]) + "; choose bisection");
        }
    }
    return true;
}

KrRealVector Grid::table(std::size_t column) const {
    KrRealVector values;
    values.reserve(rows());
    for (Place const& place : places_) {
        values.push_back(number(place.row, column));
    }
    return values;
}

}  // namespace

KrBoolean KrTableImport::read(std::string const& path, KrTableFunctionInterpolator& table) {
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream.is_open()) {
        Kr::Print::instance().write(Kr::PrintType::Error, "%s: cannot be read: %s\n", path,
                                    std::generic_category().message(errno));
        return false;
    }
    return read(stream, path, table);
}

KrBoolean KrTableImport::read(std::istream& stream, std::string const& fileName,
                              KrTableFunctionInterpolator& table) {
    KrCsvReader reader(stream, fileName);
    reader.setDecimalComma(decimalComma_);
    names_.clear();
    units_.clear();
    if (axes_.empty() || axes_.size() > mostAxes) {
        return reader.refuse("1 to " + std::to_string(mostAxes) + " axes",
                             std::to_string(axes_.size()));
    }
    Grid grid(reader, axes_.size());
    bool const areRowsRead = grid.readRows();
    names_ = reader.names();
    units_ = reader.units();
    if (!areRowsRead || !grid.findBreakpoints() || !grid.sortRows()) {
        return false;
    }
    bool good = true;
    for (std::size_t d = 0; d < axes_.size(); ++d) {
        bool const isEqualSpaced = axes_[d].searchOption == KrVectorSearchEnums::EQUAL_SPACED;
        good = (!isEqualSpaced || grid.isEqualSpaced(d)) && good;
    }
    return good && KrXml::replaceByNew(table, [&](KrTableFunctionInterpolator& fresh) {
               for (std::size_t d = 0; d < axes_.size(); ++d) {
                   KrTableFunctionVectorSearch search;
                   search.independentVector(grid.breakpoints(d));
                   search.searchOption(axes_[d].searchOption);
                   search.lowerBoundaryOption(axes_[d].lowerBoundaryOption);
                   search.upperBoundaryOption(axes_[d].upperBoundaryOption);
                   fresh.independentDataPushBack(search);
               }
               for (std::size_t column = axes_.size(); column < reader.columns(); ++column) {
                   fresh.dependentDataPushBack(grid.table(column));
               }
               return fresh.init();
           });
}
