#pragma once

#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A problem that a benchmark evaluates for peers in other languages.
struct ServedProblem {
    std::string name;
    KrRealVector start;
    KrRealVector lower;
    KrRealVector upper;
    double minimum = 0.0;         ///< of f among the feasible points
    std::size_t constraints = 0;  ///< their number
    /// f(x) and the constraints c(x), at most 0 where x is feasible.
    std::function<KrRealVector(KrRealVector const& x)> evaluate;
};

/// Prints the problems, then answers points until the standard input ends: a line "problem x0 x1
/// ..." gets the line "f c0 c1 ...". So every peer has the same functions to the last bit.
inline void serve(std::vector<ServedProblem> const& problems) {
    auto const print = [](KrRealVector const& numbers) {
        for (double const number : numbers) {
            std::printf(" %.17g", number);
        }
    };
    std::printf("%zu\n", problems.size());
    for (ServedProblem const& problem : problems) {
        std::printf("%s %zu %zu %.17g", problem.name.c_str(), problem.start.size(),
                    problem.constraints, problem.minimum);
        print(problem.start);
        print(problem.lower);
        print(problem.upper);
        std::printf("\n");
    }
    std::fflush(stdout);
    std::size_t index = 0;
    while (std::scanf("%zu", &index) == 1 && index < problems.size()) {
        KrRealVector x(problems[index].start.size());
        for (double& component : x) {
            if (std::scanf("%lf", &component) != 1) {
                return;
            }
        }
        print(problems[index].evaluate(x));
        std::printf("\n");
        std::fflush(stdout);
    }
}

/// Returns whether the argument is `--serve`. scripts/checks.sh gives all benchmarks the same
/// options `--benchmark_...`, which have no effect here. Any other argument ends the program.
inline bool isServing(int argc, char** argv) {
    if (argc == 2 && std::string_view(argv[1]) == "--serve") {
        return true;
    }
    for (int i = 1; i < argc; ++i) {
        if (!std::string_view(argv[i]).starts_with("--benchmark_")) {
            std::fprintf(stderr, "usage: %s [--serve | --benchmark_...]\n", argv[0]);
            std::exit(2);
        }
    }
    return false;
}
