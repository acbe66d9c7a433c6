#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/tools/KrTableImport.h"
#include "program/Subcommands.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

// The item of an axis in a list of one item for all axes, of one for each, or of none.
std::string itemOf(std::vector<std::string> const& items, std::size_t axis) {
    return items.empty() ? "" : items[items.size() == 1 ? 0 : axis];
}

KrVectorSearchEnums::SEARCH_OPTION searchOption(std::string const& text) {
    return text == "linear"         ? KrVectorSearchEnums::LINEAR
           : text == "equal_spaced" ? KrVectorSearchEnums::EQUAL_SPACED
                                    : KrVectorSearchEnums::BISECTION;
}

KrVectorSearchEnums::BOUNDARY_OPTION boundaryOption(std::string const& text) {
    return text == "extrapolate" ? KrVectorSearchEnums::EXTRAPOLATE : KrVectorSearchEnums::LIMIT;
}

}  // namespace

int runTable(TableCall const& call) {
    std::error_code absent;
    if (std::filesystem::is_regular_file(call.output, absent) &&
        std::filesystem::equivalent(call.grid, call.output, absent)) {
        std::fprintf(stderr, "zeibreku: --output %s is the file of the grid\n",
                     call.output.c_str());
        return WrongCall;
    }
    KrTableImport import(call.axes);
    import.setDecimalComma(call.hasDecimalComma);
    for (std::size_t d = 0; d < call.axes; ++d) {
        import.axes()[d] = {searchOption(itemOf(call.search, d)),
                            boundaryOption(itemOf(call.low, d)),
                            boundaryOption(itemOf(call.high, d))};
    }
    auto table = std::make_unique<KrTableFunctionInterpolator>();
    if (!import.read(call.grid, *table)) {
        return Refused;
    }
    KrCompositeFunctionContainer container;
    container.setAndDeleteTopElementPointer(table.release());
    if (!call.output.empty()) {
        return KrXml::writeFile(call.output, container) ? Done : Refused;
    }
    std::string const text = KrXml::toString(container);
    writeOutput(text);
    return text.empty() ? Refused : Done;
}
