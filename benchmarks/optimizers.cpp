// What the searches cost besides their function, with a function that costs 6 to 7 ns.
//
// First a table of ratios, each side the median of many runs in turn: Hooke-Jeeves in mode "none"
// compared with Nelder-Mead without restart test, both without the time of the bare evaluations;
// multidirectional search and implicit filtering compared with bare loops that fill and hand over
// as many points in the same way. Then every optimizer by itself.

#include "benchmarks/Measure.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace {

// Four components alone, so that the function's cost does not grow with n.
class Cheap : public KrScalarMultivariableFunction {
public:
    explicit Cheap(KrU32 n) : n_(n) {}
    double evaluate(KrRealVector const& x) const override {
        ++evaluations;
        return x[0] * x[0] + 2.0 * x[1] * x[1] + 3.0 * x[2] * x[2] + x[3] * x[3] + x[0] * x[3];
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        ++batches;
        KrScalarMultivariableFunction::evaluateMultiple(points, values);
    }
    KrU32 domainDim() const override { return n_; }

    mutable std::size_t evaluations = 0;
    mutable std::size_t batches = 0;

private:
    KrU32 n_;
};

KrRealVector startPoint(KrU32 n) {
    KrRealVector start(n);
    for (KrU32 i = 0; i < n; ++i) {
        start[i] = i % 2 ? 1.0 : -1.2;
    }
    return start;
}

constexpr double edge = 0.5;

KrU32 budget(KrU32 n) { return 200 * n; }

KrNelderMeadOptimizer nelderMead(KrU32 n) {
    KrNelderMeadOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setMaxFunctionEvaluations(budget(n));
    optimizer.setMaxTotalSteps(1'000'000);
    optimizer.setMaxExpansionSteps(1'000'000);
    optimizer.setRestartCheckPeriod(1'000'000'000);
    optimizer.setStoppingThreshold(0.0);
    return optimizer;
}

template <KrU32 mode>
KrHookeJeevesOptimizer hookeJeeves(KrU32 n) {
    KrHookeJeevesOptimizer optimizer;
    optimizer.setDefaultEdgeLength(edge);
    optimizer.setMaxFunctionEvaluations(budget(n));
    optimizer.setMinTotalReduction(0.0);
    optimizer.setDirectionsMode(mode);
    return optimizer;
}

KrMultidirectionalSearchOptimizer multidirectionalSearch(KrU32 n) {
    KrMultidirectionalSearchOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setMaxFunctionEvaluations(budget(n));
    optimizer.setStoppingThreshold(0.0);
    return optimizer;
}

KrImplicitFilteringOptimizer implicitFiltering(KrU32 n) {
    KrImplicitFilteringOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(edge);
    optimizer.setMaxFunctionEvaluations(budget(n));
    return optimizer;
}

KrSequenceOptimizer sequence(KrU32 n) {
    KrScalarMultivariableOptimizerVector list;
    list.pushBack(hookeJeeves<0>(n));
    list.pushBack(nelderMead(n));
    KrSequenceOptimizer optimizer;
    optimizer.setOptimizerSequence(list);
    return optimizer;
}

// As many evaluations of one point as the search made.
struct BareEvaluations {
    BareEvaluations(Cheap const& searched) : count(searched.evaluations) {}
    void operator()(Cheap const& f) {
        KrRealVector point = startPoint(f.domainDim());
        for (std::size_t i = 0; i < count; ++i) {
            benchmark::DoNotOptimize(f.evaluate(point));
        }
    }
    std::size_t count;
};

// As many sets of n points, each mixed from two vertices, as the search made.
struct BareTrialSets {
    BareTrialSets(Cheap const& searched) : batches(searched.batches) {}
    void operator()(Cheap const& f) {
        KrU32 const n = f.domainDim();
        std::vector<KrRealVector> const simplex(n + 1, startPoint(n));
        std::vector<KrRealVector> points(n, KrRealVector(n));
        KrRealVector values;
        double ofBest = 2.0;
        double ofVertex = -1.0;
        for (std::size_t batch = 0; batch < batches; ++batch) {
            benchmark::DoNotOptimize(ofBest);
            benchmark::DoNotOptimize(ofVertex);
            KrRealVector const& best = simplex[batch % (n + 1)];
            for (KrU32 i = 0; i < n; ++i) {
                for (KrU32 j = 0; j < n; ++j) {
                    points[i][j] = ofBest * best[j] + ofVertex * simplex[i][j];
                }
            }
            f.evaluateMultiple(points, values);
            benchmark::DoNotOptimize(values.data());
        }
    }
    std::size_t batches;
};

// As many stencils and as many single points, each moved from the centre, as the
// search made.
struct BareStencils {
    BareStencils(Cheap const& searched)
        : batches(searched.batches),
          singles(searched.evaluations - batches * (2 * searched.domainDim() + 1)) {}
    void operator()(Cheap const& f) {
        KrU32 const n = f.domainDim();
        std::vector<KrRealVector> points(2 * n + 1, startPoint(n));
        KrRealVector point(n);
        KrRealVector const gradient(n, 1.0);
        KrRealVector values;
        for (std::size_t batch = 0; batch < batches; ++batch) {
            for (KrU32 i = 0; i < n; ++i) {
                points[1 + i] = points[0];
                points[1 + i][i] += edge;
                points[1 + n + i] = points[0];
                points[1 + n + i][i] -= edge;
            }
            f.evaluateMultiple(points, values);
            benchmark::DoNotOptimize(values.data());
        }
        for (std::size_t single = 0; single < singles; ++single) {
            for (KrU32 j = 0; j < n; ++j) {
                point[j] = points[0][j] - 0.1 * gradient[j];
            }
            benchmark::DoNotOptimize(f.evaluate(point));
        }
    }
    std::size_t batches;
    std::size_t singles;
};

template <class Optimizer>
void search(Optimizer const& optimizer, Cheap const& f, KrRealVector const& start,
            KrRealVector& result) {
    benchmark::DoNotOptimize(optimizer.findMinimum(f, start, result));
}

struct Cost {
    double ofSearch;  // nanoseconds per evaluation
    double ofBareLoop;
};

// The medians of many runs of a search and of a bare loop, in turn, since the machine may have
// other work.
template <class BareLoop, class Optimizer>
Cost cost(Optimizer const& optimizer, KrU32 n) {
    Cheap const f(n);
    KrRealVector const start = startPoint(n);
    KrRealVector result;
    search(optimizer, f, start, result);
    auto const evaluations = static_cast<double>(f.evaluations);
    BareLoop bareLoop(f);
    std::vector<double> ofSearch;
    std::vector<double> ofBareLoop;
    for (int run = 0; run < 200; ++run) {
        ofSearch.push_back(nanoseconds([&] { search(optimizer, f, start, result); }));
        ofBareLoop.push_back(nanoseconds([&] { bareLoop(f); }));
    }
    return {median(ofSearch) / evaluations, median(ofBareLoop) / evaluations};
}

void printRatios() {
    std::printf("%-28s %6s %12s %12s %8s %6s\n", "nanoseconds per evaluation", "n", "search",
                "against", "ratio", "goal");
    auto const print = [](char const* name, KrU32 n, double ours, double against, double goal) {
        std::printf("%-28s %6u %12.2f %12.2f %8.2f %6.2f\n", name, n, ours, against, ours / against,
                    goal);
    };
    for (KrU32 const n : {10U, 100U}) {
        Cost const ours = cost<BareEvaluations>(hookeJeeves<0>(n), n);
        Cost const theirs = cost<BareEvaluations>(nelderMead(n), n);
        print("Hooke-Jeeves, Nelder-Mead", n, ours.ofSearch - ours.ofBareLoop,
              theirs.ofSearch - theirs.ofBareLoop, 0.5);
        Cost const sets = cost<BareTrialSets>(multidirectionalSearch(n), n);
        print("multidirectional, bare loop", n, sets.ofSearch, sets.ofBareLoop, 1.5);
        Cost const stencils = cost<BareStencils>(implicitFiltering(n), n);
        print("filtering, bare loop", n, stencils.ofSearch, stencils.ofBareLoop, 1.5);
    }
}

template <auto make>
void perEvaluation(benchmark::State& state) {
    auto const n = static_cast<KrU32>(state.range(0));
    auto const optimizer = make(n);
    Cheap const f(n);
    KrRealVector const start = startPoint(n);
    KrRealVector result;
    for (auto _ : state) {
        search(optimizer, f, start, result);
    }
    state.counters["per_evaluation"] =
        benchmark::Counter(static_cast<double>(f.evaluations),
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(perEvaluation<nelderMead>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<hookeJeeves<0>>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<hookeJeeves<1>>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<hookeJeeves<2>>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<hookeJeeves<3>>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<multidirectionalSearch>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<implicitFiltering>)->Arg(10)->Arg(100);
BENCHMARK(perEvaluation<sequence>)->Arg(10)->Arg(100);

}  // namespace

int main(int argc, char** argv) {
    printRatios();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
