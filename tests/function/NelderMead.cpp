#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/support/Allocations.h"
#include "tests/support/TestFunctions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <thread>
#include <utility>

namespace {

KrRealVector const powellStart{3, -1, 0, 1};

TEST(PowellsQuartic, ValuesBatchesAndEquality) {
    KrPowellsQuarticFunction f;
    EXPECT_EQ(f.evaluate({3, -1, 0, 1}), 215.0);
    EXPECT_EQ(f.evaluate({0, 0, 0, 0, 99}), 0.0);
    EXPECT_TRUE(std::isnan(f.evaluate({1, 2, 3})));
    EXPECT_EQ(f.domainDim(), 4U);
    KrPowellsQuarticFunction other;
    other.setMultiplier(-2.0);
    EXPECT_EQ(other.evaluate({3, -1, 0, 1}), -430.0);
    EXPECT_TRUE(f == other);  // functions compare by their class alone
    f = other;
    EXPECT_EQ(f.multiplier(), -2.0);
    KrRealVector values(5, 7.0);
    f.evaluateMultiple({{3, -1, 0, 1}, {0, 0, 0, 0}, {1, 0, 0, 0}}, values);
    EXPECT_EQ(values, (KrRealVector{-430, 0, -22}));
    f.evaluateMultiple({}, values);
    EXPECT_TRUE(values.empty());
}

TEST(NelderMead, MaximumIsTheMinimumOfTheNegative) {
    KrNelderMeadOptimizer const optimizer;
    KrPowellsQuarticFunction f;
    KrPowellsQuarticFunction negative;
    negative.setMultiplier(-1.0);
    KrRealVector lowest;
    KrRealVector highest;
    double const minimum = optimizer.findMinimum(f, powellStart, lowest);
    EXPECT_EQ(optimizer.findMaximum(negative, powellStart, highest), -minimum);
    EXPECT_EQ(lowest, highest);
    EXPECT_EQ(f.evaluate(lowest), minimum);
}

TEST(NelderMead, KeepsItsBudgets) {
    struct {
        KrU32 steps;
        KrU32 evaluations;
        std::size_t made;  // the first simplex, of 5, is not charged
        // Beyond the budget a step in progress is finished.
    } const cases[] = {{0, 300, 5}, {1, 300, 7}, {200, 0, 7}, {200, 20, 26}, {200, 300, 305}};
    for (auto const& test : cases) {
        KrNelderMeadOptimizer optimizer;
        optimizer.setMaxTotalSteps(test.steps);
        optimizer.setMaxFunctionEvaluations(test.evaluations);
        KrPowellsQuarticFunction const f;
        RecordingFunction const recording(f);
        KrRealVector result;
        double const value = optimizer.findMinimum(recording, powellStart, result);
        EXPECT_EQ(recording.evaluations.size(), test.made) << test.steps << ' ' << test.evaluations;
        EXPECT_TRUE(std::any_of(recording.evaluations.begin(), recording.evaluations.end(),
                                [&](Evaluation const& evaluation) {
                                    return evaluation.point == result && evaluation.value == value;
                                }));
    }
}

// On a constant function a step costs two evaluations, and its shrink five more.
TEST(NelderMead, ShrinksWhatTheBudgetAllows) {
    TestFunction const f(4, [](KrRealVector const&, KrU32) { return 0.0; });
    KrNelderMeadOptimizer optimizer;
    optimizer.setStoppingThreshold(0.0);
    for (auto const& [budget, made] : {std::pair(6U, 6U), std::pair(7U, 7U), std::pair(8U, 9U)}) {
        optimizer.setMaxFunctionEvaluations(budget);
        RecordingFunction const recording(f);
        KrRealVector result;
        optimizer.findMinimum(recording, powellStart, result);
        EXPECT_EQ(recording.evaluations.size(), 5U + made) << budget;
    }
}

// The restart test after the first step compares with the last worst value that the
// object has seen: 0 before any search, at which each search begins anew at once.
TEST(NelderMead, RemembersTheWorstValueOfThePreviousSearch) {
    KrPowellsQuarticFunction const powell;
    TestFunction const high(4, [](KrRealVector const&, KrU32) { return 1e6; });
    KrNelderMeadOptimizer optimizer;
    optimizer.setStoppingThreshold(0.0);
    optimizer.setRestartCheckPeriod(0);
    optimizer.setMaxTotalSteps(3);
    KrRealVector result;
    for (bool const first : {true, false}) {
        RecordingFunction const recording(powell);
        optimizer.findMinimum(recording, powellStart, result);
        EXPECT_EQ(recording.evaluations[7].inBatch, first);
        optimizer.findMinimum(high, powellStart, result);
    }
}

TEST(NelderMead, StartAndResultMayBeOneVector) {
    KrNelderMeadOptimizer const optimizer;
    KrPowellsQuarticFunction const f;
    KrRealVector apart;
    KrRealVector together = powellStart;
    double const value = optimizer.findMinimum(f, powellStart, apart);
    EXPECT_EQ(optimizer.findMinimum(f, together, together), value);
    EXPECT_EQ(apart, together);
}

TEST(NelderMead, SearchesDoNotInfluenceOneAnother) {
    struct Throwing : KrScalarMultivariableFunction {
        double evaluate(KrRealVector const& x) const override {
            if (--left == 0) {
                throw std::runtime_error("client");
            }
            return rosenbrock(x, 7);
        }
        KrU32 domainDim() const override { return 7; }
        mutable int left = 40;
    };
    KrNelderMeadOptimizer const fresh;
    KrNelderMeadOptimizer const used;
    KrPowellsQuarticFunction const f;
    KrRealVector result;
    for (int left : {3, 9, 40}) {  // in the first simplex, in a step, after a restart
        Throwing throwing;
        throwing.left = left;
        EXPECT_THROW(used.findMinimum(throwing, {}, result), std::runtime_error);
    }
    KrRealVector expected;
    EXPECT_EQ(used.findMinimum(f, powellStart, result),
              fresh.findMinimum(f, powellStart, expected));
    EXPECT_EQ(result, expected);
    // Distinct objects search on distinct threads.
    KrRealVector there;
    std::thread other([&] { KrNelderMeadOptimizer(used).findMinimum(f, powellStart, there); });
    used.findMinimum(f, powellStart, result);
    other.join();
    EXPECT_EQ(there, expected);
    EXPECT_EQ(result, expected);
}

// The restart test stops summing a distance when it cannot matter any more. Here
// it is done in full beside the search, whose steps are taken one by one.
TEST(NelderMead, RestartTestDecidesAsTheWholeSumsDo) {
    constexpr KrU32 n = 40;
    constexpr double infinity = std::numeric_limits<double>::infinity();
    TestFunction const f(n, [](KrRealVector const& x, KrU32) { return rosenbrock(x, 20); });
    struct {
        double eta;
        double ignored;  // a component of the start that the function does not see
    } const cases[] = {{0.0, 0.5},  {1e-6, 0.5},     {1e-3, 0.5},     {0.3, 0.5},
                       {-1.0, 0.5}, {infinity, 0.5}, {1e-6, infinity}};
    for (auto const& [eta, ignored] : cases) {
        KrNelderMeadOptimizer optimizer;
        optimizer.setRestartCheckPeriod(0);
        optimizer.setEta(eta);
        optimizer.setDefaultSimplexEdgeLength(0.3);
        RecordingFunction const recording(f);
        KrRealVector start(n, 0.5);
        start[30] = ignored;  // where it is infinite, distances are NaN
        optimizer.initialize(1.0, recording, start, 1.0);
        std::vector<KrRealVector> simplex;
        KrRealVector values;
        auto const rebuild = [&] {
            simplex.clear();
            values.clear();
            for (std::size_t i = recording.evaluations.size() - n - 1;
                 i < recording.evaluations.size(); ++i) {
                simplex.push_back(recording.evaluations[i].point);
                values.push_back(recording.evaluations[i].value);
            }
        };
        rebuild();
        double previousWorst = 0.0;
        int restarts = 0;
        for (int step = 0; step < 400; ++step) {
            auto const worst = std::max_element(values.begin(), values.end()) - values.begin();
            std::size_t const before = recording.evaluations.size();
            bool done = false;
            optimizer.singleStep(1.0, recording, done);
            if (recording.evaluations.size() - before > 2) {
                break;  // a shrink: the vertices cannot be followed from outside
            }
            // Which of the points came in shows in the best and worst values; take
            // the one that the published rules accept.
            Evaluation const& r = recording.evaluations[before];
            Evaluation const& last = recording.evaluations.back();
            auto const best = std::min_element(values.begin(), values.end()) - values.begin();
            bool const second = recording.evaluations.size() - before == 2 &&
                                (r.value < values[static_cast<std::size_t>(best)]
                                     ? last.value < values[static_cast<std::size_t>(best)]
                                     : true);
            simplex[static_cast<std::size_t>(worst)] = second ? last.point : r.point;
            values[static_cast<std::size_t>(worst)] = second ? last.value : r.value;

            auto const l = static_cast<std::size_t>(std::min_element(values.begin(), values.end()) -
                                                    values.begin());
            double const high = *std::max_element(values.begin(), values.end());
            double largest = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                double d2 = 0.0;
                for (std::size_t j = 0; j < n; ++j) {
                    d2 += (simplex[i][j] - simplex[l][j]) * (simplex[i][j] - simplex[l][j]);
                }
                double const rise = values[i] - values[l];
                double const ratio = rise * rise / (d2 > 1e-300 ? d2 : 1e-300);
                largest = i != l && ratio > largest ? ratio : largest;
            }
            bool const expected = eta * largest > previousWorst - high ||
                                  optimizer.stoppingThreshold() > high - values[l];
            std::size_t const evaluated = recording.evaluations.size();
            optimizer.restartIfNeeded(1.0, recording);
            bool const restarted = recording.evaluations.size() != evaluated;
            ASSERT_EQ(restarted, expected) << "eta " << eta << ", step " << step;
            if (restarted) {
                ++restarts;
                rebuild();
            }
            previousWorst = *std::max_element(values.begin(), values.end());
        }
        if (eta > 1e-3 || ignored == infinity) {
            EXPECT_GT(restarts, 5) << eta;
        }
    }
}

TEST(NelderMead, StepsBeforeASearchAreHarmless) {
    KrNelderMeadOptimizer const optimizer;
    KrPowellsQuarticFunction const f;
    bool done = false;
    EXPECT_EQ(optimizer.singleStep(1.0, f, done), 0.0);
    EXPECT_TRUE(done);
    optimizer.restartIfNeeded(1.0, f);
    optimizer.exchangeHighVertex(4, powellStart, 1.0);
    optimizer.exchangeHighVertexAndContract(1.0, f, 4, powellStart, 1.0);
    optimizer.findMaxAndMin();
    optimizer.calculateVertexMeanExcludingMaxPoint();
    optimizer.initialize(1.0, f, powellStart, 1.0);
    optimizer.exchangeHighVertex(9, {1.0}, 1.0);  // no more than both have
    // As are those after an exception in a smaller simplex.
    struct Throwing : KrPowellsQuarticFunction {
        double evaluate(KrRealVector const&) const override { throw std::runtime_error("client"); }
        KrU32 domainDim() const override { return 2; }
    };
    EXPECT_THROW(optimizer.initialize(1.0, Throwing(), {}, 1.0), std::runtime_error);
    optimizer.exchangeHighVertex(4, powellStart, 1.0);
    optimizer.findMaxAndMin();
    optimizer.singleStep(1.0, f, done);
}

TEST(NelderMead, ABatchThatAFunctionForgotCountsAsNaN) {
    struct Forgetful : KrPowellsQuarticFunction {
        void evaluateMultiple(std::vector<KrRealVector> const&,
                              KrRealVector& values) const override {
            values.clear();
        }
    };
    KrRealVector result;
    KrNelderMeadOptimizer optimizer;
    optimizer.setMaxTotalSteps(0);
    EXPECT_TRUE(std::isnan(optimizer.findMinimum(Forgetful(), powellStart, result)));
    EXPECT_EQ(result, powellStart);
}

TEST(NelderMead, AllocatesNothingFromStepToStep) {
    KrNelderMeadOptimizer optimizer;
    optimizer.setStoppingThreshold(0.0);
    optimizer.setRestartCheckPeriod(3);  // shrinks and restarts too
    TestFunction const f(6, rosenbrock);
    KrRealVector result;
    std::size_t made[2];
    for (int i = 0; i < 2; ++i) {
        optimizer.setMaxFunctionEvaluations(i ? 4000 : 40);
        optimizer.setMaxTotalSteps(10'000);
        optimizer.findMinimum(f, {}, result);
        std::size_t const before = allocationCount();
        optimizer.findMinimum(f, {}, result);
        made[i] = allocationCount() - before;
    }
    EXPECT_EQ(made[0], 0U);
    EXPECT_EQ(made[1], 0U);
}

}  // namespace
