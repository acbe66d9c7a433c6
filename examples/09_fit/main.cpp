// Fits two exponentials to measurements by the search of an XML file. If it is killed and started
// again, it continues from its record:
//
//   09_fit SEARCH.xml MEASUREMENTS.txt RECORD [SECONDS]
//
//   09_fit search.xml mgh17.txt fit.record
//
// The measurements are lines "x y". A line "certified b1 b2 b3 b4 b5 sum" holds the published
// result, which is printed next to the fit. With SECONDS, each evaluation takes at least that long,
// as a simulation does.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrCallableFunction.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"
#include "search/KrSignalStop.h"

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

namespace {

struct Measurements {
    KrRealVector x, y;
    std::array<double, 6> certified{};
};

/// Of the residuals of y = b1 + b2 exp(-b4 x) + b3 exp(-b5 x).
double sumOfSquares(Measurements const& m, KrRealVector const& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < m.x.size(); ++i) {
        double const y = b[0] + b[1] * std::exp(-b[3] * m.x[i]) + b[2] * std::exp(-b[4] * m.x[i]);
        sum += (m.y[i] - y) * (m.y[i] - y);
    }
    return sum;
}

/// Prints how far the search is. A resumed search prints the lines of its record again.
class Progress : public KrSearchObserver {
public:
    void evaluated(KrSearchProgress const& progress) override {
        if (progress.evaluation % 250 == 0) {
            std::printf("evaluation %4u: %.10g\n", progress.evaluation, progress.bestValue);
        }
    }
};

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

void print(std::string const& name, double found, double certified) {
    std::printf("%-14s %18.10e %18.10e\n", name.c_str(), found, certified);
}

void print(KrSearch const& search, KrSearchReport const& report,
           std::array<double, 6> const& certified) {
    std::printf("%-14s %18s %18s\n", report.reasonText().c_str(), "found", "certified");
    for (KrU32 i = 0; i < report.bestPoint().size(); ++i) {
        print(search.names()[i], report.bestPoint()[i], certified[i]);
    }
    print("sum of squares", report.bestValue(), certified[5]);
    std::fprintf(stderr, "%u evaluations: %u from the record, %u made now\n", report.evaluations(),
                 report.evaluationsFromRecord(), report.evaluationsMade());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4 || argc > 5) {
        return fail("expected SEARCH.xml MEASUREMENTS.txt RECORD [SECONDS]");
    }
    KrSearch search;
    Measurements measurements;
    if (!KrXml::readFile(argv[1], search) || !read(argv[2], measurements)) {
        return 1;  // the fault and its position are printed
    }
    std::chrono::duration<double> const pause(argc == 5 ? std::atof(argv[4]) : 0.0);
    KrCallableFunction const squares(5, [&](KrRealVector const& b) {
        std::this_thread::sleep_for(pause);
        return sumOfSquares(measurements, b);
    });
    Progress progress;
    KrEvaluationRecord record(argv[3]);
    KrSignalStop const signals;
    KrSearchReport const report =
        search.run(squares, {.observer = &progress, .record = &record, .stop = signals.token()});
    if (report.evaluations() == 0) {
        return 1;  // what is wrong is printed
    }
    print(search, report, measurements.certified);
    return report.reason() == KrSearchReason::Finished ? 0 : 1;
}
