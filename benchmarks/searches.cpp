// What a `KrSearch` costs per evaluation besides its optimizer.
//
// First a table of ratios, each side the median of many runs in turn. Both sides make the same
// evaluations: a Nelder-Mead search without restart test from the same simplex. "Bare" is
// `findMinimum` of a fresh copy of the optimizer. "Cheap" looks at four components, so that the
// cost of the search itself shows. "Ellipsoid" and "Rosenbrock" depend on all components. "100 ns"
// is the ellipsoid and a chain of logarithms and exponentials. In the layers the scales are 2, the
// bounds are far away, and the failure value is 1e10.
//
// Then each kind of search by itself, those with a record in a file and those of NLopt among them.
// The files are in the folder for temporary files.

#include "benchmarks/Measure.h"
#include "benchmarks/Rosenbrock.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#if ZEIBREKU_HAVE_NLOPT
#include <nlopt.h>
#endif

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

using Formula = double (*)(double const* x, std::size_t n);

double cheap(double const* x, std::size_t) {
    return x[0] * x[0] + 2.0 * x[1] * x[1] + 3.0 * x[2] * x[2] + x[3] * x[3] + x[0] * x[3];
}

double ellipsoid(double const* x, std::size_t n) {
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        sum += static_cast<double>(i + 1) * x[i] * x[i];
    }
    return sum;
}

double hundredNanoseconds(double const* x, std::size_t n) {
    double value = ellipsoid(x, n);
    for (int i = 0; i < 4; ++i) {
        value = std::exp(std::log(value));
    }
    return value;
}

struct Problem : KrScalarMultivariableFunction {
    Problem(Formula theFormula, KrU32 dimension) : formula(theFormula), n(dimension) {}
    double evaluate(KrRealVector const& x) const override {
        ++evaluations;
        return formula(x.data(), n);
    }
    KrU32 domainDim() const override { return n; }

    Formula formula;
    KrU32 n;
    mutable std::size_t evaluations = 0;
};

double startAt(KrU32 i) { return i % 2 ? 1.0 : -1.2; }

constexpr double edge = 0.5;
constexpr double scale = 2.0;

KrU32 budget(KrU32 n) { return 200 * n; }

KrNelderMeadOptimizer optimizer(KrU32 n, double firstEdge = edge) {
    KrNelderMeadOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(firstEdge);
    optimizer.setMaxFunctionEvaluations(budget(n));
    optimizer.setMaxTotalSteps(1'000'000);
    optimizer.setMaxExpansionSteps(1'000'000);
    optimizer.setRestartCheckPeriod(1'000'000'000);
    optimizer.setStoppingThreshold(0.0);
    return optimizer;
}

// The number of evaluations that a search asked for, those from its memory included.
using Search = std::function<std::size_t(Problem const& f)>;

std::size_t searchBare(Problem const& f) {
    KrNelderMeadOptimizer const bare = optimizer(f.n);
    KrRealVector start;
    for (KrU32 i = 0; i < f.n; ++i) {
        start.push_back(startAt(i));
    }
    KrRealVector result;
    std::size_t const before = f.evaluations;
    benchmark::DoNotOptimize(bare.findMinimum(f, start, result));
    return f.evaluations - before;
}

KrSearch plainSearch(KrU32 n, bool remembers = false) {
    KrSearch search;
    for (KrU32 i = 0; i < n; ++i) {
        search.addVariable("x" + std::to_string(i), startAt(i));
    }
    search.setOptimizer(optimizer(n));
    search.setRemember(remembers);
    return search;
}

KrSearch layeredSearch(KrU32 n, bool remembers = false) {
    KrSearch search;
    for (KrU32 i = 0; i < n; ++i) {
        search.addVariable("x" + std::to_string(i), startAt(i), -1e3, 1e3, scale);
    }
    search.setOptimizer(optimizer(n, edge / scale));
    search.setFailureValue(1e10);
    search.setRemember(remembers);
    return search;
}

std::size_t run(KrSearch const& search, Problem const& f, KrEvaluationRecord* record = nullptr) {
    return search.run(f, {.record = record}).evaluations();
}

Search running(KrSearch const& search) {
    return [search](Problem const& f) { return run(search, f); };
}

// A search with a new record in a file.
std::size_t runRecorded(Problem const& f, double durableAfter) {
    static std::string const path = std::filesystem::temp_directory_path() /
                                    ("searches-" + std::to_string(getpid()) + ".record");
    KrEvaluationRecord record(path);
    record.setDurableAfter(durableAfter);
    std::size_t const evaluations = run(plainSearch(f.n, true), f, &record);
    std::filesystem::remove(path);
    return evaluations;
}

#if ZEIBREKU_HAVE_NLOPT
template <bool bounded>
std::size_t runNlopt(Problem const& f) {
    nlopt_opt const search = nlopt_create(NLOPT_LN_NELDERMEAD, f.n);
    nlopt_set_min_objective(
        search,
        [](unsigned n, double const* x, double*, void* data) {
            auto const& problem = *static_cast<Problem const*>(data);
            ++problem.evaluations;
            return problem.formula(x, n);
        },
        const_cast<Problem*>(&f));
    if (bounded) {
        nlopt_set_lower_bounds1(search, -1e3);
        nlopt_set_upper_bounds1(search, 1e3);
    }
    nlopt_set_initial_step1(search, edge);
    nlopt_set_maxeval(search, static_cast<int>(budget(f.n)));
    KrRealVector x;
    for (KrU32 i = 0; i < f.n; ++i) {
        x.push_back(startAt(i));
    }
    double value = 0.0;
    nlopt_optimize(search, x.data(), &value);
    auto const evaluations = static_cast<std::size_t>(nlopt_get_numevals(search));
    nlopt_destroy(search);
    return evaluations;
}
#endif

// Prints the medians of many runs of both sides in turn, since the machine may have other work.
void printRatio(char const* name, Formula formula, KrU32 n, double goal, Search const& ours,
                Search const& against = searchBare) {
    Problem const f(formula, n);
    std::vector<double> ofOurs;
    std::vector<double> ofOther;
    std::size_t evaluations = 0;
    for (int run = 0; run < 101; ++run) {
        std::size_t other = 0;
        ofOurs.push_back(nanoseconds([&] { evaluations = ours(f); }));
        ofOther.push_back(nanoseconds([&] { other = against(f); }));
        if (other != evaluations) {
            std::fprintf(stderr, "%s: the searches differ\n", name);
            std::exit(1);
        }
    }
    double const first = median(ofOurs) / static_cast<double>(evaluations);
    double const second = median(ofOther) / static_cast<double>(evaluations);
    std::printf("%-44s %4u %10.1f %10.1f %7.2f %6.2f\n", name, n, first, second, first / second,
                goal);
}

void printRatios() {
    std::printf("%-44s %4s %10s %10s %7s %6s\n", "nanoseconds per evaluation", "n", "search",
                "against", "ratio", "goal");
    printRatio("plain search of 100 ns, bare", hundredNanoseconds, 4, 1.1, running(plainSearch(4)));
    struct {
        char const* layers;
        char const* layersAndMemory;
        Formula formula;
    } const functions[] = {
        {"layers, cheap, bare", "layers and memory, cheap, bare", cheap},
        {"layers, ellipsoid, bare", "layers and memory, ellipsoid, bare", ellipsoid}};
    for (auto const& [layers, layersAndMemory, formula] : functions) {
        for (KrU32 const n : {4U, 20U}) {
            printRatio(layers, formula, n, n == 4 ? 2.0 : 1.5, running(layeredSearch(n)));
            printRatio(layersAndMemory, formula, n, n == 4 ? 3.5 : 3.0,
                       running(layeredSearch(n, true)));
        }
    }
    for (KrU32 const n : {2U, 10U}) {
        // A replay takes all of its values from the record.
        KrSearch const search = plainSearch(n, true);
        KrEvaluationRecord record;
        run(search, Problem(rosenbrock, n), &record);
        auto const replay = [&](Problem const& f) { return run(search, f, &record); };
        printRatio("replay, Rosenbrock, search without record", rosenbrock, n, 1.3, replay,
                   running(search));
        printRatio("replay, Rosenbrock, bare", rosenbrock, n, 1.3, replay);
    }
}

// Makes a search of n variables.
using Maker = std::function<Search(KrU32 n)>;

void add(char const* name, std::vector<std::int64_t> const& dimensions, Maker const& make,
         Formula formula = cheap) {
    auto* const added = benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        Problem const f(formula, static_cast<KrU32>(state.range(0)));
        Search const search = make(f.n);
        std::size_t evaluations = 0;
        for (auto _ : state) {
            evaluations += search(f);
        }
        state.counters["per_evaluation"] =
            benchmark::Counter(static_cast<double>(evaluations),
                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    });
    for (std::int64_t const n : dimensions) {
        added->Arg(n);
    }
    added->UseRealTime();  // a durable record waits for the disk
}

Maker always(Search const& search) {
    return [=](KrU32) { return search; };
}

Maker recorded(double durableAfter) {
    return always([=](Problem const& f) { return runRecorded(f, durableAfter); });
}

void addAll() {
    std::vector<std::int64_t> const both = {4, 20};
    add("bare, 100 ns", {4}, always(searchBare), hundredNanoseconds);
    add("bare", both, always(searchBare));
    add("plain", both, [](KrU32 n) { return running(plainSearch(n)); });
    add("with memory", both, [](KrU32 n) { return running(plainSearch(n, true)); });
    add("with layers", both, [](KrU32 n) { return running(layeredSearch(n)); });
    add("with layers and memory", both, [](KrU32 n) { return running(layeredSearch(n, true)); });
    add("with a record in memory", both, always([](Problem const& f) {
            KrEvaluationRecord record;
            return run(plainSearch(f.n, true), f, &record);
        }));
    add("with a file, never durable", both, recorded(infinity));
    add("with a file, durable every second", both, recorded(1.0));
    add("with a file, each durable", {4}, recorded(0.0));
#if ZEIBREKU_HAVE_NLOPT
    add("NLopt LN_NELDERMEAD", both, always(runNlopt<false>));
    add("NLopt LN_NELDERMEAD, bounded", both, always(runNlopt<true>));
#endif
}

}  // namespace

int main(int argc, char** argv) {
    printRatios();
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
