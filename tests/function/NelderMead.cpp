#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/support/TestFunctions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace {

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
        std::vector<Evaluation> const& made = recording.evaluations;
        KrRealVector start(n, 0.5);
        start[30] = ignored;  // where it is infinite, distances are NaN
        optimizer.initialize(1.0, recording, start, 1.0);
        std::vector<Evaluation> simplex(made);
        auto const rebuild = [&] { simplex.assign(made.end() - (n + 1), made.end()); };
        double previousWorst = 0.0;
        int restarts = 0;
        for (int step = 0; step < 400; ++step) {
            auto const worst = std::ranges::max_element(simplex, {}, &Evaluation::value);
            double const lowest = std::ranges::min(simplex, {}, &Evaluation::value).value;
            std::size_t const before = made.size();
            bool done = false;
            optimizer.singleStep(1.0, recording, done);
            Evaluation const& reflected = made[before];
            if (made.size() - before > 2) {  // a shrink, which evaluates each vertex
                rebuild();
            } else if (made.size() - before == 2 &&
                       (reflected.value >= lowest || made.back().value < lowest)) {
                *worst = made.back();  // the expanded or the contracted point
            } else {
                *worst = reflected;
            }

            Evaluation const best = std::ranges::min(simplex, {}, &Evaluation::value);
            double const high = std::ranges::max(simplex, {}, &Evaluation::value).value;
            double largest = 0.0;
            for (std::size_t i = 0; i < n; ++i) {
                double d2 = 0.0;
                for (std::size_t j = 0; j < n; ++j) {
                    double const difference = simplex[i].point[j] - best.point[j];
                    d2 += difference * difference;
                }
                double const rise = simplex[i].value - best.value;
                double const ratio = rise * rise / (d2 > 1e-300 ? d2 : 1e-300);
                largest = ratio > largest ? ratio : largest;
            }
            bool const expected = eta * largest > previousWorst - high ||
                                  optimizer.stoppingThreshold() > high - best.value;
            std::size_t const evaluated = made.size();
            optimizer.restartIfNeeded(1.0, recording);
            ASSERT_EQ(made.size() != evaluated, expected) << "eta " << eta << ", step " << step;
            if (expected) {
                ++restarts;
                rebuild();
            }
            previousWorst = std::ranges::max(simplex, {}, &Evaluation::value).value;
        }
        if (eta > 1e-3 || ignored == infinity) {
            EXPECT_GT(restarts, 5) << eta;
        }
    }
}

}  // namespace
