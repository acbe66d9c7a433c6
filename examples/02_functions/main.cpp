// Tabulates a scalar function, a unitary map or a constraint read from an XML file, one
// line "x y" for each point, for plotting programs:
//
//   02_functions FILE.xml FROM TO INTERVALS [COMPONENT...]
//
//   02_functions points.xml -1 3 16
//   02_functions s-curve.xml 0 1 100
//   02_functions quadratic.xml 0 2 8 1 1
//
// The root element defines the kind of function. For a constraint, the first component of
// the point runs from FROM to TO and the others are COMPONENT...; the line then also holds
// the components of the gradient's direction.

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/scalar/KrMultipointScalarFunction.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>

namespace {

int fail(std::string const& message) {
    std::fprintf(stderr, "02_functions: %s\n", message.c_str());
    return 1;
}

bool parse(char const* text, double& number) {
    auto const [end, error] = std::from_chars(text, text + std::strlen(text), number);
    return error == std::errc() && *end == '\0';
}

/// A table over equidistant abscissae.
struct Table {
    double from = 0.0;
    double to = 1.0;
    unsigned intervals = 1;
    KrRealVector others;  // components of a point after the first

    void print(char const* heading, std::function<KrRealVector(double x)> const& row) const {
        std::printf("# %s\n", heading);
        for (unsigned i = 0; i <= intervals; ++i) {
            double const x = from + (to - from) * i / intervals;
            std::printf("%.10g", x);
            for (double const value : row(x)) {
                std::printf(" %.10g", value);
            }
            std::printf("\n");
        }
    }
};

template <class Container>
bool read(std::string const& path, Container& container) {
    // A container creates linear scalar functions. A factory creates all others, including
    // your own.
    KrXmlFactory factory;
    factory.registerCreator(KrMultipointScalarFunction::classToken(),
                            KrMultipointScalarFunction::xmlObjectCreator);
    return KrXml::readFile(path, container, &factory);  // prints faults and positions
}

template <class Container>
int tabulateFunction(std::string const& path, Table const& table) {
    if (!table.others.empty()) {
        return fail(path + ": a function has no further components");
    }
    Container container;
    if (!read(path, container)) {
        return 1;
    }
    table.print("x y", [&](double x) { return KrRealVector{container.evaluate(x)}; });
    return 0;
}

int tabulateConstraint(std::string const& path, Table const& table) {
    KrMultivariableConstraintContainer container;
    if (!read(path, container)) {
        return 1;
    }
    KrRealVector point = table.others;
    point.insert(point.begin(), 0.0);
    table.print("x y gradient...", [&](double x) {
        point[0] = x;
        KrRealVector row = container.gradient(point);
        row.insert(row.begin(), container.evaluate(point));
        return row;
    });
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        return fail("expected FILE.xml FROM TO INTERVALS [COMPONENT...]");
    }
    Table table;
    double intervals = 0.0;
    if (!parse(argv[2], table.from) || !parse(argv[3], table.to)) {
        return fail(std::string("expected two numbers, found \"") + argv[2] + "\" and \"" +
                    argv[3] + "\"");
    }
    if (!parse(argv[4], intervals) || !(intervals >= 1 && intervals <= 1e6)) {
        return fail(std::string("intervals: expected 1 to 1000000, found \"") + argv[4] + "\"");
    }
    table.intervals = static_cast<unsigned>(intervals);
    for (int i = 5; i < argc; ++i) {
        double component = 0.0;
        if (!parse(argv[i], component)) {
            return fail(std::string("expected a number, found \"") + argv[i] + "\"");
        }
        table.others.push_back(component);
    }

    std::string const path = argv[1];
    std::ifstream file(path);
    if (!file) {
        return fail(path + ": cannot be read");
    }
    KrXmlReader reader(file, path);
    if (!reader.onElement()) {
        return 1;  // not XML; the reader has printed a message
    }
    KrToken const root = reader.token();
    if (root == KrScalarFunctionContainer().token()) {
        return tabulateFunction<KrScalarFunctionContainer>(path, table);
    }
    if (root == KrUnitaryMapContainer().token()) {
        return tabulateFunction<KrUnitaryMapContainer>(path, table);
    }
    if (root == KrMultivariableConstraintContainer().token()) {
        return tabulateConstraint(path, table);
    }
    return fail(path + ": expected a container of a function, a map or a constraint, found \"" +
                std::string(root.localName()) + "\"");
}
