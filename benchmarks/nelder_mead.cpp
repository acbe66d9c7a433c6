// What a Nelder-Mead search costs beyond its function: nanoseconds per evaluation
// on a function that costs next to nothing, beside GSL's nmsimplex2 and NLopt's
// LN_NELDERMEAD. A counter "evaluations" says how many a search made.
//
// The second program part, run by itself with --agreement, checks the method:
// the evaluations until the value is below 1e-8, with the same first simplex.

#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_multimin.h>
#endif
#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

using Formula = double (*)(double const* x, std::size_t n);

double sphere(double const* x, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += x[i] * x[i];
    }
    return sum;
}

double rosenbrock(double const* x, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < n; ++i) {
        double const a = x[i + 1] - x[i] * x[i];
        double const b = 1.0 - x[i];
        sum += 100.0 * (a * a) + b * b;
    }
    return sum;
}

double powell(double const* x, std::size_t) {
    double const a = x[0] + 10.0 * x[1];
    double const b = x[2] - x[3];
    double const c = x[1] - 2.0 * x[2];
    double const d = x[0] - x[3];
    return a * a + 5.0 * b * b + c * c * c * c + 10.0 * d * d * d * d;
}

// Four components alone, so that the function's cost does not grow with n.
double cheap(double const* x, std::size_t) {
    return x[0] * x[0] + 2.0 * x[1] * x[1] + 3.0 * x[2] * x[2] + x[3] * x[3] + x[0] * x[3];
}

KrRealVector startPoint(std::size_t n) {
    KrRealVector start(n);
    for (std::size_t i = 0; i < n; ++i) {
        start[i] = i % 2 ? 1.0 : -1.2;
    }
    return start;
}

constexpr double edge = 0.5;

// Counts its evaluations, and remembers how many it took to fall below 1e-8.
struct Problem : KrScalarMultivariableFunction {
    Problem(Formula theFormula, std::size_t dimension) : formula(theFormula), n(dimension) {}
    double value(double const* x) const {
        double const result = formula(x, n);
        ++evaluations;
        if (!reached && result < 1e-8) {
            reached = evaluations;
        }
        return result;
    }
    double evaluate(KrRealVector const& x) const override { return value(x.data()); }
    KrU32 domainDim() const override { return static_cast<KrU32>(n); }

    Formula formula;
    std::size_t n;
    mutable std::size_t evaluations = 0;
    mutable std::size_t reached = 0;
};

std::size_t budget(std::size_t n) { return n < 100 ? 200 * n : 20 * n; }

KrNelderMeadOptimizer ourOptimizer(std::size_t evaluations) {
    KrNelderMeadOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setMaxFunctionEvaluations(static_cast<KrU32>(evaluations));
    optimizer.setMaxTotalSteps(1'000'000);
    optimizer.setMaxExpansionSteps(1'000'000);
    optimizer.setRestartCheckPeriod(1'000'000'000);
    optimizer.setStoppingThreshold(0.0);
    return optimizer;
}

void searchByUs(Problem const& problem, KrNelderMeadOptimizer const& optimizer) {
    KrRealVector result;
    benchmark::DoNotOptimize(optimizer.findMinimum(problem, startPoint(problem.n), result));
}

#if ZEIBREKU_HAVE_GSL
void searchByGsl(Problem const& problem, std::size_t evaluations) {
    std::size_t const n = problem.n;
    KrRealVector const start = startPoint(n);
    gsl_multimin_function f{[](gsl_vector const* x, void* data) {
                                return static_cast<Problem const*>(data)->value(x->data);
                            },
                            n, const_cast<Problem*>(&problem)};
    gsl_vector* const x = gsl_vector_alloc(n);
    gsl_vector* const steps = gsl_vector_alloc(n);
    std::memcpy(x->data, start.data(), n * sizeof(double));
    gsl_vector_set_all(steps, edge);
    gsl_multimin_fminimizer* const search =
        gsl_multimin_fminimizer_alloc(gsl_multimin_fminimizer_nmsimplex2, n);
    gsl_multimin_fminimizer_set(search, &f, x, steps);
    while (problem.evaluations < evaluations && !gsl_multimin_fminimizer_iterate(search)) {
    }
    gsl_multimin_fminimizer_free(search);
    gsl_vector_free(steps);
    gsl_vector_free(x);
}
#endif

#if ZEIBREKU_HAVE_NLOPT
void searchByNlopt(Problem const& problem, std::size_t evaluations) {
    unsigned const n = static_cast<unsigned>(problem.n);
    KrRealVector x = startPoint(n);
    nlopt_opt const search = nlopt_create(NLOPT_LN_NELDERMEAD, n);
    nlopt_set_min_objective(
        search,
        [](unsigned, double const* at, double*, void* data) {
            return static_cast<Problem const*>(data)->value(at);
        },
        const_cast<Problem*>(&problem));
    nlopt_set_initial_step1(search, edge);
    nlopt_set_maxeval(search, static_cast<int>(evaluations));
    double value = 0.0;
    nlopt_optimize(search, x.data(), &value);
    nlopt_destroy(search);
}
#endif

template <class Search>
void measure(benchmark::State& state, Search search) {
    Problem const problem(cheap, static_cast<std::size_t>(state.range(0)));
    std::size_t evaluations = 0;
    for (auto _ : state) {
        problem.evaluations = 0;
        search(problem, budget(problem.n));
        evaluations += problem.evaluations;
    }
    state.counters["evaluations"] =
        static_cast<double>(evaluations) / static_cast<double>(state.iterations());
    state.counters["per_evaluation"] =
        benchmark::Counter(static_cast<double>(evaluations),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void ours(benchmark::State& state) {
    measure(state, [](Problem const& problem, std::size_t evaluations) {
        searchByUs(problem, ourOptimizer(evaluations));
    });
}

// The restart test is made at every step, and never answers yes.
void oursWithRestartTest(benchmark::State& state) {
    measure(state, [](Problem const& problem, std::size_t evaluations) {
        KrNelderMeadOptimizer optimizer = ourOptimizer(evaluations);
        optimizer.setRestartCheckPeriod(0);
        optimizer.setEta(0.0);
        searchByUs(problem, optimizer);
    });
}

BENCHMARK(ours)->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(oursWithRestartTest)->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
#if ZEIBREKU_HAVE_GSL
void gslNmsimplex2(benchmark::State& state) { measure(state, searchByGsl); }
BENCHMARK(gslNmsimplex2)->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
#endif
#if ZEIBREKU_HAVE_NLOPT
void nloptNelderMead(benchmark::State& state) { measure(state, searchByNlopt); }
BENCHMARK(nloptNelderMead)->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
#endif

#if ZEIBREKU_HAVE_GSL
void printAgreement() {
    struct {
        char const* name;
        Formula formula;
        std::size_t n;
    } const cases[] = {{"Powell's quartic", powell, 4},
                       {"Rosenbrock, n = 2", rosenbrock, 2},
                       {"Rosenbrock, n = 10", rosenbrock, 10},
                       {"sphere, n = 10", sphere, 10}};
    std::printf("%-20s %10s %10s %8s\n", "evaluations to 1e-8", "ours", "GSL", "ratio");
    for (auto const& test : cases) {
        constexpr std::size_t most = 100'000;
        Problem const first(test.formula, test.n);
        Problem const second(test.formula, test.n);
        searchByUs(first, ourOptimizer(most));
        searchByGsl(second, most);
        std::printf("%-20s %10zu %10zu %8.3f\n", test.name, first.reached, second.reached,
                    static_cast<double>(first.reached) / static_cast<double>(second.reached));
    }
}
#endif

}  // namespace

int main(int argc, char** argv) {
#if ZEIBREKU_HAVE_GSL
    printAgreement();
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
