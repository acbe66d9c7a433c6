// Frozen tables, compared with the live object, GSL, and each other. Each case runs two sides in
// turn, on points that are new in each round. "ratio" is the median time of the first over that of
// the second, "goal" its upper bound. All points are random, and all searches bisect.

#include "benchmarks/Measure.h"
#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrFrozenComposite.h"
#include "function/composite/KrFrozenTable.h"
#include "function/composite/KrTableFunctionInterpolator.h"

#include <benchmark/benchmark.h>

#if ZEIBREKU_HAVE_GSL
#include <gsl/gsl_interp.h>
#include <gsl/gsl_interp2d.h>
#endif

#include <algorithm>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace {

using Reals = std::vector<double>;

constexpr std::size_t pointCount = 20'000;

// Breakpoints of each dimension, so that the larger tables leave the first caches.
std::size_t breakpointsOf(std::size_t dimensions) {
    constexpr std::size_t counts[] = {0, 1000, 300, 45, 16, 10, 8};
    return counts[dimensions];
}

// A table of random values over [0, 1] in each dimension, and random points.
struct Data {
    Data(std::size_t theDimensions, std::size_t tables) : dimensions(theDimensions) {
        std::size_t const count = breakpointsOf(dimensions);
        std::size_t size = 1;
        for (std::size_t i = 0; i < count; ++i) {
            axis.push_back(static_cast<double>(i) / static_cast<double>(count - 1));
        }
        KrVectorSearch<double> search;
        search.init(axis, search.LIMIT, search.EXTRAPOLATE, search.BISECTION);
        for (std::size_t d = 0; d < dimensions; ++d) {
            live.addDimension(search);
            size *= count;
        }
        for (std::size_t t = 0; t < tables; ++t) {
            table.resize(size);
            std::ranges::generate(table, [&] { return unit(random); });
            live.addInterpolator(table);
        }
        frozen = KrFrozenTable(live);
        values.resize(pointCount * tables);
        gradients.resize(values.size() * dimensions);
        drawPoints();
    }

    void drawPoints() {
        points.resize(pointCount * dimensions);
        std::ranges::generate(points, [&] { return unit(random); });
    }

    std::span<double const> point(std::size_t p) const {
        return std::span(points).subspan(p * dimensions, dimensions);
    }

    std::size_t dimensions;
    std::mt19937_64 random{1};
    std::uniform_real_distribution<double> unit{0.0, 1.0};
    Reals axis;
    Reals table;  // the last one
    KrInterpolator<double> live;
    KrFrozenTable frozen;
    Reals points;
    Reals values;
    Reals gradients;
};

void evaluateLive(Data& data) {
    Reals point(data.dimensions);
    double* value = data.values.data();
    for (std::size_t p = 0; p < pointCount; ++p) {
        for (std::size_t d = 0; d < point.size(); ++d) {  // a `memmove` would take longer
            point[d] = data.points[p * point.size() + d];
        }
        for (double const result : data.live.evaluate(point)) {
            *value++ = result;
        }
    }
}

void evaluateEach(Data& data) {
    std::size_t const m = data.frozen.valueCount();
    for (std::size_t p = 0; p < pointCount; ++p) {
        data.frozen.evaluate(data.point(p), std::span(data.values).subspan(p * m, m));
    }
}

void evaluateEachWithGradient(Data& data) {
    std::size_t const m = data.frozen.valueCount();
    std::size_t const n = data.dimensions;
    for (std::size_t p = 0; p < pointCount; ++p) {
        data.frozen.evaluateWithGradient(data.point(p), std::span(data.values).subspan(p * m, m),
                                         std::span(data.gradients).subspan(p * m * n, m * n));
    }
}

void evaluateBlock(Data& data) { data.frozen.evaluateMany(data.points, data.values); }

void evaluateBlockWithGradient(Data& data) {
    data.frozen.evaluateManyWithGradient(data.points, data.values, data.gradients);
}

// On two threads, a half of the block on each.
void evaluateOnTwoThreads(Data& data) {
    std::size_t const half = data.points.size() / 2;
    auto const evaluate = [&](std::size_t part) {
        std::span const values =
            std::span(data.values).subspan(part * data.values.size() / 2, data.values.size() / 2);
        for (int repetition = 0; repetition < 20; ++repetition) {
            data.frozen.evaluateMany(std::span(data.points).subspan(part * half, half), values);
        }
    };
    std::thread other(evaluate, 1);
    evaluate(0);
    other.join();
}

void evaluateOnOneThread(Data& data) {
    for (int repetition = 0; repetition < 20; ++repetition) {
        data.frozen.evaluateMany(data.points, data.values);
    }
}

void freeze(Data& data) { benchmark::DoNotOptimize(KrFrozenTable(data.live).valueCount()); }

void copy(Data& data) {
    KrInterpolator<double> const copied(data.live);
    benchmark::DoNotOptimize(&copied);
}

#if ZEIBREKU_HAVE_GSL
// A loop over the points, with an accelerator.
void evaluateGsl(Data& data) {
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> const first(
        gsl_interp_accel_alloc(), gsl_interp_accel_free);
    std::unique_ptr<gsl_interp_accel, void (*)(gsl_interp_accel*)> const second(
        gsl_interp_accel_alloc(), gsl_interp_accel_free);
    std::size_t const size = data.axis.size();
    double const* const axis = data.axis.data();
    if (data.dimensions == 1) {
        std::unique_ptr<gsl_interp, void (*)(gsl_interp*)> const f(
            gsl_interp_alloc(gsl_interp_linear, size), gsl_interp_free);
        gsl_interp_init(f.get(), axis, data.table.data(), size);
        for (std::size_t p = 0; p < pointCount; ++p) {
            data.values[p] =
                gsl_interp_eval(f.get(), axis, data.table.data(), data.points[p], first.get());
        }
        return;
    }
    std::unique_ptr<gsl_interp2d, void (*)(gsl_interp2d*)> const f(
        gsl_interp2d_alloc(gsl_interp2d_bilinear, size, size), gsl_interp2d_free);
    gsl_interp2d_init(f.get(), axis, axis, data.table.data(), size, size);
    for (std::size_t p = 0; p < pointCount; ++p) {
        data.values[p] =
            gsl_interp2d_eval(f.get(), axis, axis, data.table.data(), data.points[2 * p],
                              data.points[2 * p + 1], first.get(), second.get());
    }
}
#endif

// 64 tables of two dimensions, side by side, below six levels of branches.
struct TreeData {
    TreeData() {
        live.setTopElement(*tree(0.0, 1.0, 0.0, 1.0, 6));
        frozen = KrFrozenComposite(live);
        values.resize(pointCount);
        points.resize(2 * pointCount);
        drawPoints();
    }

    using Element = std::unique_ptr<KrCompositeFunctionElement>;

    Element tree(double x0, double x1, double y0, double y1, int depth) {
        if (depth > 0) {
            auto branch = std::make_unique<KrCompositeFunctionBranch>();
            double const x = depth % 2 ? x1 : 0.5 * (x0 + x1);
            double const y = depth % 2 ? 0.5 * (y0 + y1) : y1;
            branch->setLeft(*tree(x0, x, y0, y, depth - 1));
            branch->setRight(*tree(depth % 2 ? x0 : x, x1, depth % 2 ? y : y0, y1, depth - 1));
            return branch;
        }
        auto leaf = std::make_unique<KrTableFunctionInterpolator>();
        for (auto const& [low, high] : {std::pair(x0, x1), std::pair(y0, y1)}) {
            KrTableFunctionVectorSearch search;
            Reals breakpoints(20);
            for (std::size_t i = 0; i < breakpoints.size(); ++i) {
                breakpoints[i] = low + (high - low) * static_cast<double>(i) / 19.0;
            }
            search.independentVector(breakpoints);
            search.searchOption(KrVectorSearchEnums::BISECTION);
            leaf->independentDataPushBack(search);
        }
        Reals table(400);
        std::ranges::generate(table, [&] { return unit(random); });
        leaf->dependentDataPushBack(table);
        leaf->init();
        return leaf;
    }

    void drawPoints() {
        std::ranges::generate(points, [&] { return unit(random); });
    }

    std::mt19937_64 random{1};
    std::uniform_real_distribution<double> unit{0.0, 1.0};
    KrCompositeFunctionContainer live;
    KrFrozenComposite frozen;
    Reals points;
    Reals values;
};

void evaluateLiveTree(TreeData& data) {
    Reals point(2);
    Reals value;
    KrBoolean ok = false;
    for (std::size_t p = 0; p < pointCount; ++p) {
        point[0] = data.points[2 * p];
        point[1] = data.points[2 * p + 1];
        data.live.evaluate(point, value, ok);
        data.values[p] = value[0];
    }
}

void evaluateTreeEach(TreeData& data) {
    for (std::size_t p = 0; p < pointCount; ++p) {
        data.frozen.evaluate(std::span(data.points).subspan(2 * p, 2),
                             std::span(data.values).subspan(p, 1));
    }
}

void evaluateTreeBlock(TreeData& data) { data.frozen.evaluateMany(data.points, data.values); }

template <class Input>
using Program = void (*)(Input&);

// Runs both in turn. Both must compute the same values, to the bit unless `error` is given.
template <class Input, class... Arguments>
void add(std::string const& name, double goal, Program<Input> ours, Program<Input> other,
         double error, Arguments... arguments) {
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
            Input data(arguments...);
            Reals ourTimes;
            Reals otherTimes;
            other(data);
            Reals const expected = data.values;
            ours(data);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                if (!(std::abs(data.values[i] - expected[i]) <= error)) {
                    state.SkipWithError("not the same values");
                    return;
                }
            }
            for (auto _ : state) {
                data.drawPoints();
                ourTimes.push_back(nanoseconds([&] { ours(data); }) / pointCount);
                otherTimes.push_back(nanoseconds([&] { other(data); }) / pointCount);
                state.SetIterationTime(ourTimes.back() * pointCount * 1e-9);
            }
            state.counters["other_ns"] = median(otherTimes);
            state.counters["ours_ns"] = median(ourTimes);
            state.counters["ratio"] = median(ourTimes) / median(otherTimes);
            state.counters["goal"] = goal;
        })
        ->UseManualTime()
        ->Iterations(60);
}

void addAll() {
    constexpr double goals[] = {0.0, 0.35, 0.35, 0.5, 0.5, 0.7, 0.7};
    for (std::size_t const n : {1U, 2U, 3U, 4U, 6U}) {
        std::string const prefix = std::to_string(n) + "-D ";
        double const gradientGoal = n < 4 ? 2.5 : 0.5 * static_cast<double>(2 * n + 1);
        std::size_t const one = 1;
        std::size_t const four = 4;
        add<Data>(prefix + "block / live", goals[n], evaluateBlock, evaluateLive, 0.0, n, one);
        add<Data>(prefix + "block of four tables / live", goals[n], evaluateBlock, evaluateLive,
                  0.0, n, four);
        add<Data>(prefix + "point / live", 0.75, evaluateEach, evaluateLive, 0.0, n, one);
        add<Data>(prefix + "block with gradient / without", gradientGoal, evaluateBlockWithGradient,
                  evaluateBlock, 0.0, n, one);
        add<Data>(prefix + "point with gradient / without", gradientGoal, evaluateEachWithGradient,
                  evaluateEach, 0.0, n, one);
        add<Data>(prefix + "freezing / copy", 1.5, freeze, copy, 0.0, n, one);
    }
#if ZEIBREKU_HAVE_GSL
    add<Data>("1-D block / GSL", 0.35, evaluateBlock, evaluateGsl, 1e-9, std::size_t{1},
              std::size_t{1});
    add<Data>("2-D block / GSL", 0.35, evaluateBlock, evaluateGsl, 1e-9, std::size_t{2},
              std::size_t{1});
#endif
    add<Data>("2-D block, two threads / one", 1.0 / 1.9, evaluateOnTwoThreads, evaluateOnOneThread,
              0.0, std::size_t{2}, std::size_t{1});
    add<TreeData>("tree, block / live", 0.5, evaluateTreeBlock, evaluateLiveTree, 0.0);
    add<TreeData>("tree, point / live", 0.5, evaluateTreeEach, evaluateLiveTree, 0.0);
}

}  // namespace

int main(int argc, char** argv) {
    addAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
