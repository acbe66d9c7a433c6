// Turns the aerodynamic coefficients in a CSV file into a table file, and checks that file:
//
//   11_aerodynamic_table WING.csv WING.xml
//
//   11_aerodynamic_table wing.csv wing.xml
//
// The CSV file has two coordinate columns, angle of attack and Mach number, then lift, drag and
// moment. `zeibreku table wing.csv --axes 2 --search equal_spaced,bisection` prints the same
// table file, and `zeibreku check --lint wing.xml` checks it.

#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/tools/KrLint.h"
#include "function/tools/KrTableImport.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr std::size_t axes = 2;  // angle, Mach number

int fail(std::string const& message) {
    std::fprintf(stderr, "11_aerodynamic_table: %s\n", message.c_str());
    return 1;
}

bool importTable(std::string const& csv, std::string const& xml) {
    KrTableImport import(axes);
    import.axes()[0].searchOption = KrVectorSearchEnums::EQUAL_SPACED;
    KrTableFunctionInterpolator table;
    if (!import.read(csv, table)) {  // prints each fault with its line
        return false;
    }
    std::printf("%s, %s:", import.names()[0].c_str(), import.names()[1].c_str());
    for (std::size_t i = axes; i < import.names().size(); ++i) {
        std::printf(" %s", import.names()[i].c_str());
    }
    std::printf("\n");
    KrCompositeFunctionContainer container;
    container.setTopElement(table);
    return KrXml::writeFile(xml, container);
}

// Reads a table file, and prints what cannot be meant in it.
bool readChecked(std::string const& xml, KrCompositeFunctionContainer& wing) {
    std::vector<KrLintFinding> findings;
    if (!KrLint().readFile(xml, wing, findings)) {
        return false;
    }
    for (KrLintFinding const& finding : findings) {
        finding.print();
    }
    return findings.empty();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return fail("expected WING.csv WING.xml");
    }
    KrCompositeFunctionContainer wing;
    return importTable(argv[1], argv[2]) && readChecked(argv[2], wing) ? 0 : 1;
}
