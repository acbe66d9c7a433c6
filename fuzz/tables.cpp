// Reads the bytes as a CSV file, whole and in pieces, and makes tables of it.

#include "foundation/core/KrPrint.h"
#include "function/tools/KrCsvReader.h"
#include "function/tools/KrTableImport.h"
#include "support/Pieces.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

void require(bool holds, char const* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

std::string rowsOf(std::string const& text, std::size_t piece, bool hasDecimalComma) {
    Pieces pieces(text, piece);
    std::istream stream(&pieces);
    KrCsvReader reader(stream);
    reader.setDecimalComma(hasDecimalComma);
    std::string rows;
    while (reader.nextRow()) {
        require(reader.size() > 0, "a row without fields");
        rows += std::to_string(reader.line()) + '\n';
        for (std::size_t i = 0; i < reader.size(); ++i) {
            rows += std::string(reader.field(i)) + '\0';
        }
    }
    return rows + std::to_string(reader.errorCount());
}

void checkTable(std::string const& text, KrU32 axes, bool hasDecimalComma) {
    KrTableImport import(axes);
    import.setDecimalComma(hasDecimalComma);
    KrTableFunctionInterpolator table;
    std::istringstream stream(text);
    if (!import.read(stream, "", table)) {
        require(table == KrTableFunctionInterpolator(), "a refused file has changed the table");
        return;
    }
    require(table.independentData().size() == axes, "a table of other axes");
    KrRealVector point;
    std::size_t points = 1;
    for (KrTableFunctionVectorSearch const& axis : table.independentData()) {
        auto const& breakpoints = axis.independentVector();
        require(std::is_sorted(breakpoints.begin(), breakpoints.end()), "not ascending");
        point.push_back(breakpoints[0]);
        points *= breakpoints.size();
    }
    for (KrXmlRealVector const& values : table.dependentData()) {
        require(values.size() == points, "a table of another length");
    }
    KrBoolean ok = false;
    for (double const value : table.evaluate(point, ok)) {
        require(std::isfinite(value), "a breakpoint without a value");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static bool const isMute = (Kr::Print::instance().setSink({}), true);
    if (size < 1 || !isMute) {
        return 0;
    }
    bool const hasDecimalComma = data[0] & 1;
    std::string const text(data + 1, data + size);
    std::string const rows = rowsOf(text, 1 + data[0] % 7, hasDecimalComma);
    require(rows == rowsOf(text, text.size() + 1, hasDecimalComma), "pieces change the rows");
    for (KrU32 axes = 1; axes <= 3; ++axes) {
        checkTable(text, axes, hasDecimalComma);
    }
    return 0;
}
