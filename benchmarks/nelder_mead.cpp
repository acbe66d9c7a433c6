// What a Nelder-Mead search costs per evaluation, compared with GSL's nmsimplex2 and NLopt's
// LN_NELDERMEAD. All start from the same first simplex, stop at the same budget, and call a
// function through one pointer. "cheap" looks at four components, so that the search's own cost
// shows. "ellipsoid" depends on all components, as most functions do. The counter "evaluations"
// is the number of evaluations of a search.
//
// The restart test runs at every step of "ours with restart test". Its eta is 1e-12, where no
// search restarts after its first step: the counter "restarts" shows that. With eta 0, the test
// decides most vertices by fewer components and takes up to a quarter less. With the default of
// 1e-4, a search that tests at every step spends its budget on restarts.
//
// First a table compares the methods: the evaluations until the value is below 1e-8.

#include "benchmarks/Rosenbrock.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_multimin.h>
#endif
#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Formula = double (*)(double const* x, std::size_t n);

double sphere(double const* x, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += x[i] * x[i];
    }
    return sum;
}

// In four sums, so that an addition does not wait for the one before.
double ellipsoid(double const* x, std::size_t n) {
    double sums[4] = {};
    for (std::size_t i = 0; i < n; i += 4) {
        for (std::size_t k = i; k < std::min(i + 4, n); ++k) {
            sums[k - i] += static_cast<double>(k + 1) * x[k] * x[k];
        }
    }
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
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

// Counts its evaluations, and how many it took to fall below 1e-8.
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
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        ++simplices;
        KrScalarMultivariableFunction::evaluateMultiple(points, values);
    }
    KrU32 domainDim() const override { return static_cast<KrU32>(n); }

    Formula formula;
    std::size_t n;
    mutable std::size_t simplices = 0;
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
void measure(benchmark::State& state, Formula formula, Search search) {
    Problem const problem(formula, static_cast<std::size_t>(state.range(0)));
    std::size_t evaluations = 0;
    for (auto _ : state) {
        problem.evaluations = 0;
        search(problem, budget(problem.n));
        evaluations += problem.evaluations;
    }
    auto const searches = static_cast<double>(state.iterations());
    state.counters["evaluations"] = static_cast<double>(evaluations) / searches;
    if (problem.simplices > 0) {
        state.counters["restarts"] = static_cast<double>(problem.simplices) / searches - 1.0;
    }
    state.counters["per_evaluation"] =
        benchmark::Counter(static_cast<double>(evaluations),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void searchByUsWithoutRestart(Problem const& problem, std::size_t evaluations) {
    searchByUs(problem, ourOptimizer(evaluations));
}

void searchByUsWithRestartTest(Problem const& problem, std::size_t evaluations) {
    KrNelderMeadOptimizer optimizer = ourOptimizer(evaluations);
    optimizer.setRestartCheckPeriod(0);
    optimizer.setEta(1e-12);
    searchByUs(problem, optimizer);
}

template <class Search>
void add(char const* name, Formula formula, Search search) {
    std::string const function = formula == cheap ? "cheap, " : "ellipsoid, ";
    auto const run = [formula, search](benchmark::State& state) {
        measure(state, formula, search);
    };
    auto* const added = benchmark::RegisterBenchmark((function + name).c_str(), run);
    added->Arg(4)->Arg(10)->Arg(100)->Arg(1000);
}

void addAll() {
    for (Formula const formula : {cheap, ellipsoid}) {
        add("ours", formula, searchByUsWithoutRestart);
#if ZEIBREKU_HAVE_GSL
        add("GSL nmsimplex2", formula, searchByGsl);
#endif
#if ZEIBREKU_HAVE_NLOPT
        add("NLopt LN_NELDERMEAD", formula, searchByNlopt);
#endif
    }
    add("ours with restart test", ellipsoid, searchByUsWithRestartTest);
}

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
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
