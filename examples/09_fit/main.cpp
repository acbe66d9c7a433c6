// Fits a peak to measurements by an optimizer read from an XML file:
//
//   09_fit SETTINGS.xml MEASUREMENTS.txt B1 B2 B3
//
//   09_fit nelder-mead.xml transmittance.txt 1 10 500
//
// The search starts at B1 to B3. The measurements are lines "x y". A line
// "certified b1 b2 b3 sum" holds the published result, which is printed next to the fit.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

struct Measurements {
    KrRealVector x, y;
    std::array<double, 4> certified{};
};

/// A peak around b3 with the standard deviation b2 and the area b1 sqrt(2 pi).
double peak(KrRealVector const& b, double x) {
    double const distance = (x - b[2]) / b[1];
    return b[0] / b[1] * std::exp(-0.5 * distance * distance);
}

int fail(std::string const& message) {
    std::fprintf(stderr, "09_fit: %s\n", message.c_str());
    return 1;
}

bool read(std::string const& path, Measurements& measurements) {
    std::ifstream file(path);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::istringstream words(line);
        if (line.empty() || line[0] == '#') {
            continue;
        }
        double x = 0.0;
        double y = 0.0;
        if (line.starts_with("certified ")) {
            words.ignore(10);
            for (double& value : measurements.certified) {
                words >> value;
            }
        } else if (words >> x >> y) {
            measurements.x.push_back(x);
            measurements.y.push_back(y);
        }
        if (!words || !(words >> std::ws).eof()) {
            fail(path + ":" + std::to_string(number) + ": expected numbers, found \"" + line +
                 "\"");
            return false;
        }
    }
    if (measurements.x.empty()) {
        fail(path + ": no measurements, or cannot be read");
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) {
        return fail("expected SETTINGS.xml MEASUREMENTS.txt B1 B2 B3");
    }
    KrRealVector start;
    for (int i = 3; i < argc; ++i) {
        std::istringstream word(argv[i]);
        double value = 0.0;
        if (!(word >> value) || !word.eof()) {
            return fail(std::string("start: expected a number, found \"") + argv[i] + "\"");
        }
        start.push_back(value);
    }
    KrScalarMultivariableOptimizerContainer optimizer;
    if (!KrXml::readFile(argv[1], optimizer)) {
        return 1;  // the library has printed the fault and its position
    }
    if (!optimizer.topElement()) {
        return fail(std::string(argv[1]) + ": holds no optimizer");
    }
    Measurements measurements;
    if (!read(argv[2], measurements)) {
        return 1;
    }

    int evaluations = 0;
    KrCallableFunction const squares(3, [&](KrRealVector const& b) {
        ++evaluations;
        double sum = 0.0;
        for (std::size_t i = 0; i < measurements.x.size(); ++i) {
            double const residual = measurements.y[i] - peak(b, measurements.x[i]);
            sum += residual * residual;
        }
        return sum;
    });
    using Clock = std::chrono::steady_clock;
    auto const begin = Clock::now();
    KrRealVector found;
    double const sum = optimizer.findMinimum(squares, start, found);
    std::chrono::duration<double, std::milli> const time = Clock::now() - begin;

    std::printf("%zu measurements, from (%g, %g, %g)\n", measurements.x.size(), start[0], start[1],
                start[2]);
    std::printf("%-14s %15s %15s\n", "", "found", "published");
    char const* const names[] = {"b1", "b2", "b3"};
    for (std::size_t i = 0; i < found.size(); ++i) {
        std::printf("%-14s %15.8g %15.8g\n", names[i], found[i], measurements.certified[i]);
    }
    std::printf("%-14s %15.8g %15.8g\n", "sum of squares", sum, measurements.certified[3]);
    std::printf("%d evaluations, %.2f ms\n", evaluations, time.count());
    return 0;
}
