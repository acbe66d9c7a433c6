// The functions over functions that a program can use without a search, and a client's optimizer.

#include "function/multivariable/KrCallableFunction.h"
#include "function/optimizer/KrScalarMultivariableOptimizer.h"
#include "search/KrAskTell.h"
#include "search/KrBoundedFunction.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrRememberingFunction.h"
#include "search/KrScaledFunction.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// 10 a + b, and what it was called with; a batch is noted as one.
struct Noting : KrScalarMultivariableFunction {
    double evaluate(KrRealVector const& x) const override {
        points.push_back(x);
        return 10.0 * x[0] + x[1];
    }
    void evaluateMultiple(std::vector<KrRealVector> const& all,
                          KrRealVector& values) const override {
        batches.push_back(all.size());
        KrScalarMultivariableFunction::evaluateMultiple(all, values);
    }
    KrU32 domainDim() const override { return 2; }
    mutable std::vector<KrRealVector> points;
    mutable std::vector<std::size_t> batches;
};

// One by one and as one batch.
void expectValues(KrScalarMultivariableFunction const& f, Noting const& inner,
                  std::vector<KrRealVector> const& points, KrRealVector const& expected) {
    inner.batches.clear();
    KrRealVector values;
    f.evaluateMultiple(points, values);
    EXPECT_EQ(values, expected);
    EXPECT_EQ(inner.batches.size(), 1U);
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_EQ(f.evaluate(points[i]), expected[i]) << i;
    }
    EXPECT_EQ(f.domainDim(), 2U);
}

TEST(Functions, AScaledOneMultipliesEachCoordinate) {
    Noting const f;
    expectValues(KrScaledFunction(f, {2.0, 0.5}), f, {{1.0, 4.0}, {-3.0, 0.0}}, {22.0, -60.0});
    expectValues(KrScaledFunction(f, {2.0}), f, {{1.0, 4.0}}, {24.0});
}

TEST(Functions, ABoundedOneIsEvaluatedInsideAlone) {
    Noting const f;
    // The first coordinate has a width of 4; the second is open, and counts in units of 0.5.
    KrBoundedFunction const bounded(f, {0.0, -infinity}, {4.0, 2.0}, {1.0, 0.5});
    expectValues(bounded, f, {{1.0, 1.0}, {6.0, 1.0}, {-1.0, 3.0}},
                 {11.0, 41.0 + 42.0 * 0.5, 2.0 + 3.0 * (0.25 + 2.0)});
    KrBoundedFunction const highest(f, {0.0, -infinity}, {4.0, 2.0}, {}, true);
    expectValues(highest, f, {{6.0, 1.0}, {1.0, 3.0}}, {41.0 - 42.0 * 0.5, 12.0 - 13.0});
    for (KrRealVector const& point : f.points) {
        EXPECT_TRUE(point[0] >= 0.0 && point[0] <= 4.0 && point[1] <= 2.0);
    }
    KrRealVector inside;
    EXPECT_EQ(bounded.clip({nan, nan}, inside), infinity);
    EXPECT_EQ(inside, (KrRealVector{0.0, 2.0}));
    EXPECT_EQ(bounded.clip({infinity, -infinity}, inside), infinity);
    EXPECT_EQ(inside, (KrRealVector{4.0, -infinity}));
    EXPECT_EQ(bounded.clip({-0.0, 2.0}, inside), 0.0);
    EXPECT_TRUE(std::signbit(inside[0]));
    EXPECT_EQ(bounded.clip({5.0, 1.0, 7.0}, inside), 0.25);
    EXPECT_EQ(inside, (KrRealVector{4.0, 1.0, 7.0}));
    // Without a width, a distance is in units of the scale.
    EXPECT_EQ(KrBoundedFunction(f, {1.0, 1.0}, {1.0, 9.0}, {4.0}).clip({3.0, 1.0}, inside), 0.5);
}

TEST(Functions, ARememberingOneIsEvaluatedOnceAtAPoint) {
    Noting const f;
    KrRememberingFunction const remembering(f);
    std::vector<KrRealVector> points;
    KrRealVector expected;
    for (int i = 0; i < 500; ++i) {  // the table grows several times
        points.push_back({i % 250 * 0.1, -0.0});
        expected.push_back(10.0 * points.back()[0] - 0.0);
    }
    expectValues(remembering, f, points, expected);
    EXPECT_EQ(f.points.size(), 250U);
    remembering.evaluate({0.0, 0.0});  // not -0
    EXPECT_TRUE(std::isnan(remembering.evaluate({nan, 1.0})));
    remembering.evaluate({nan, 1.0});
    EXPECT_EQ(f.points.size(), 252U);
    KrCallableFunction const constant(0, [](KrRealVector const&) { return 4.0; });
    KrRememberingFunction const rememberingConstant(constant);
    EXPECT_EQ(rememberingConstant.evaluate({}) + rememberingConstant.evaluate({}), 8.0);
}

// Asks for a point with a coordinate too many.
KrToken const carelessToken("urn:zeibreku:tests#careless");
class Careless : public KrElement<Careless, KrScalarMultivariableOptimizer, carelessToken> {
public:
    double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& x,
                       KrRealVector& result) const override {
        result = x;
        KrRealVector longer = x;
        longer.push_back(1.0);
        f.evaluate(x);
        return f.evaluate(longer);
    }
    double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& x,
                       KrRealVector& result) const override {
        return findMinimum(f, x, result);
    }
};

TEST(Functions, APointOfAnotherLengthIsNotRecorded) {
    KrSearch search;
    search.addVariable("a", 1.0);
    search.addVariable("b", 2.0);
    search.setOptimizer(Careless());
    KrEvaluationRecord record;
    CapturedMessages const captured;
    KrSearchReport const report = search.run(Noting(), {.record = &record});
    EXPECT_EQ(report.reason(), KrSearchReason::Failed);
    EXPECT_EQ(record.entries().size(), 1U);
    ASSERT_EQ(captured.messages.size(), 1U);
    EXPECT_NE(captured.messages[0].text.find("expected a point of 2 coordinates, found 3"),
              std::string::npos);
    // Nor one that a program brings.
    KrAskTell asking(searchOf(everyOptimizer(60)[0], {1.0, 2.0}));
    asking.tell({1.0}, 5.0);
    EXPECT_EQ(captured.messages.size(), 2U);
    EXPECT_EQ(asking.next(), (std::vector<KrRealVector>{{1.0, 2.0}}));
}

}  // namespace
