// Evaluates tables read from an XML file, one line for each point: the point, "ok" or
// "no", and the values if there are any.
//
//   04_tables FILE.xml POINT...          points such as 2,0.65
//   04_tables FILE.xml                   points from standard input, one per line
//   04_tables FILE.xml --grid COUNT...   a grid over the box of the tables, with COUNT
//                                        points along each variable
//
//   04_tables aerodynamics.xml 2,0.65 6,1 0,4
//   04_tables aerodynamics.xml --grid 33 61 > wing.txt
//
// A grid has a blank line after each run of the first variable, and "no" after coordinates
// without values: gnuplot's splot 'wing.txt' using 1:2:4 shows the first value.

#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace {

int fail(std::string const& message) {
    std::fprintf(stderr, "04_tables: %s\n", message.c_str());
    return 1;
}

// Parses numbers separated by blanks or commas. Returns false for any other text.
bool parse(std::string_view text, KrRealVector& numbers) {
    constexpr char const* separators = " \t\r,";
    numbers.clear();
    std::size_t at = 0;
    while ((at = text.find_first_not_of(separators, at)) != text.npos) {
        std::size_t const end = std::min(text.find_first_of(separators, at), text.size());
        double number = 0.0;
        auto const [stop, error] = std::from_chars(text.data() + at, text.data() + end, number);
        if (error != std::errc() || stop != text.data() + end) {
            return false;
        }
        numbers.push_back(number);
        at = end;
    }
    return true;
}

void print(KrCompositeFunctionContainer const& f, KrRealVector const& point) {
    for (double const x : point) {
        std::printf("%.10g ", x);
    }
    KrRealVector values;
    KrBoolean ok = false;
    f.evaluate(point, values, ok);
    std::fputs(ok ? "ok" : "no", stdout);
    if (ok) {
        for (double const y : values) {
            std::printf(" %.10g", y);
        }
    }
    std::printf("\n");
}

// Prints the value at a point given as text.
int printText(KrCompositeFunctionContainer const& f, std::string const& text) {
    KrRealVector point;
    if (!parse(text, point) || point.size() != f.bounds().size()) {
        return fail("expected " + std::to_string(f.bounds().size()) + " numbers, found \"" + text +
                    "\"");
    }
    print(f, point);
    return 0;
}

int printGrid(KrCompositeFunctionContainer const& f, KrRealVector const& counts) {
    auto const& bounds = f.bounds();
    double total = 1.0;
    for (double const count : counts) {
        total *= count >= 2.0 ? count : 1e9;
    }
    if (counts.size() != bounds.size() || total > 1e7) {
        return fail("--grid: expected a count of 2 or more for each of the " +
                    std::to_string(bounds.size()) + " variables, and 10 million points at most");
    }
    std::vector<unsigned> index(counts.size());
    KrRealVector point(counts.size());
    for (std::size_t d = 0; d < index.size();) {
        for (std::size_t i = 0; i < index.size(); ++i) {
            double const share = index[i] / (static_cast<unsigned>(counts[i]) - 1.0);
            point[i] = bounds[i][0] + share * (bounds[i][1] - bounds[i][0]);
        }
        print(f, point);
        // The next point, like a counter whose first digit is the first variable.
        for (d = 0; d < index.size() && ++index[d] == static_cast<unsigned>(counts[d]); ++d) {
            index[d] = 0;
            if (d == 0) {
                std::printf("\n");
            }
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        return fail("expected FILE.xml [POINT... | --grid COUNT...]");
    }
    KrCompositeFunctionContainer f;
    if (!KrXml::readFile(argv[1], f)) {  // prints faults and positions
        return 1;
    }
    if (f.bounds().empty()) {
        return fail(std::string(argv[1]) + ": holds no complete function");
    }
    if (argc > 2 && std::string(argv[2]) == "--grid") {
        std::string counts;
        for (int i = 3; i < argc; ++i) {
            counts += std::string(argv[i]) + ' ';
        }
        KrRealVector numbers;
        if (!parse(counts, numbers)) {
            return fail("--grid: expected numbers, found \"" + counts + "\"");
        }
        return printGrid(f, numbers);
    }
    for (int i = 2; i < argc; ++i) {
        if (printText(f, argv[i])) {
            return 1;
        }
    }
    if (argc == 2) {
        for (std::string line; std::getline(std::cin, line);) {
            if (printText(f, line)) {
                return 1;
            }
        }
    }
    return 0;
}
