// Turns the aerodynamic coefficients in a CSV file into a table file, checks that file, and
// evaluates random flight conditions with gradients on two threads:
//
//   11_aerodynamic_table WING.csv WING.xml [POINTS]
//
//   11_aerodynamic_table wing.csv wing.xml
//
// The CSV file has two coordinate columns, angle of attack and Mach number, then lift, drag and
// moment. `zeibreku table wing.csv --axes 2 --search equal_spaced,bisection` prints the same
// table file, and `zeibreku check --lint wing.xml` checks it.
//
// It prints the best ratio of lift to drag, the steepest lift, and where the wing is stable: there
// the moment falls as the angle grows. The time goes to standard error.

#include "foundation/math/KrRandomStream.h"
#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrFrozenComposite.h"
#include "function/tools/KrLint.h"
#include "function/tools/KrTableImport.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t axes = 2;  // angle, Mach number
enum Coefficient : std::size_t { Lift, Drag, Moment, coefficients };

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

// Flight conditions, row-major, with the coefficients and their gradients.
struct Flights {
    explicit Flights(std::size_t count)
        : points(count * axes), values(count * coefficients), gradients(values.size() * axes) {}

    double value(std::size_t i, Coefficient c) const { return values[i * coefficients + c]; }
    // The derivative with respect to the angle.
    double slope(std::size_t i, Coefficient c) const {
        return gradients[(i * coefficients + c) * axes];
    }

    KrRealVector points;
    KrRealVector values;
    KrRealVector gradients;
};

// Evaluates the flights from `begin` to `end`. Threads may share `wing`.
void evaluate(KrFrozenComposite const& wing, Flights& flights, std::size_t begin, std::size_t end) {
    auto const part = [&](KrRealVector& rows, std::size_t width) {
        return std::span(rows).subspan(begin * width, (end - begin) * width);
    };
    wing.evaluateManyWithGradient(part(flights.points, axes), part(flights.values, coefficients),
                                  part(flights.gradients, coefficients * axes));
}

void print(Flights const& flights, std::size_t count) {
    std::size_t best = 0;
    std::size_t steepest = 0;
    std::size_t stable = 0;
    auto const ratio = [&](std::size_t i) {
        return flights.value(i, Lift) / flights.value(i, Drag);
    };
    for (std::size_t i = 0; i < count; ++i) {
        best = ratio(i) > ratio(best) ? i : best;
        steepest = flights.slope(i, Lift) > flights.slope(steepest, Lift) ? i : steepest;
        stable += flights.slope(i, Moment) < 0.0 ? 1 : 0;
    }
    auto const where = [&](std::size_t i) {
        std::printf(" at angle %.2f, Mach %.3f\n", flights.points[i * axes],
                    flights.points[i * axes + 1]);
    };
    std::printf("best lift/drag %.2f", ratio(best));
    where(best);
    std::printf("steepest lift %.4f per degree", flights.slope(steepest, Lift));
    where(steepest);
    std::printf("stable in %.2f %% of %zu points\n",
                100.0 * static_cast<double>(stable) / static_cast<double>(count), count);
}

}  // namespace

int main(int argc, char** argv) {
    long const wanted = argc > 3 ? std::atol(argv[3]) : 1'000'000;
    if (argc < 3 || wanted < 1 || wanted > 100'000'000) {
        return fail("expected WING.csv WING.xml [POINTS], with 1 to 100000000 points");
    }
    KrCompositeFunctionContainer wing;
    if (!importTable(argv[1], argv[2]) || !readChecked(argv[2], wing)) {
        return 1;
    }
    KrFrozenComposite const frozen(wing);
    if (frozen.domainDim() != axes || frozen.valueCount() != coefficients) {
        return fail(std::string(argv[1]) + ": expected columns of lift, drag and moment");
    }
    std::size_t const count = static_cast<std::size_t>(wanted);
    Flights flights(count);
    KrRandomStream random(11);
    for (std::size_t i = 0; i < flights.points.size(); ++i) {
        auto const& bounds = wing.bounds()[i % axes];
        flights.points[i] = random.uniformRealRandom(bounds[0], bounds[1]);
    }
    auto const start = std::chrono::steady_clock::now();
    std::thread other([&] { evaluate(frozen, flights, 0, count / 2); });
    evaluate(frozen, flights, count / 2, count);
    other.join();
    std::chrono::duration<double, std::nano> const time = std::chrono::steady_clock::now() - start;
    std::fprintf(stderr, "%.0f ns a point\n", time.count() / static_cast<double>(count));
    print(flights, count);
    return 0;
}
