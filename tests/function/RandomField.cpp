// Random fields: the bits of their plain form, and odd arguments.

#include "foundation/math/KrMath.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"
#include "support/PlainRandomField.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Correlation : KrLinearScalarFunction {
    explicit Correlation(std::function<double(double)> theF) : f(std::move(theF)) {}
    double evaluate(double const& x) const override { return f(x); }
    std::function<double(double)> f;
};

double exponential(double x) { return 2.0 * std::exp(-x / 3.0); }

KrReArray fieldOf(KrU32 columns, KrU32 rows, std::function<double(double)> const& f, double spacing,
                  double mean, KrU32 samples) {
    KrRandomTensorTool tool;
    tool.setNumRandomSamples(samples);
    tool.setRandomSeed(11);
    KrReArray array(2, 3);
    Correlation correlation(f);
    tool.getGaussianRandomArray(array, columns, rows, correlation, spacing, mean);
    return array;
}

TEST(RandomField, HasTheBitsAndTheDrawsOfItsPlainForm) {
    struct {
        KrU32 columns, rows;
        std::function<double(double)> f;
        double spacing, mean;
        KrU32 samples;
    } const cases[] = {
        {8, 6, exponential, 0.5, 3.0, 100},
        {131, 18, exponential, 0.25, -1.0, 33},  // beyond a tile and a batch both ways
        {5, 40, exponential, 1.0, 0.0, 17},
        {1, 65536, exponential, 1.0, 0.0, 1},  // most of it beyond the grid
        {1, 1, exponential, 1.0, 0.0, 1},
        {0, 0, exponential, 1.0, 1.0, 5},
        {0, 3, exponential, 1.0, 1.0, 2},
        {4, 0, exponential, 1.0, 1.0, 2},
        {3, 2, exponential, 1.0, 4.5, 0},                 // is its mean and draws nothing
        {9, 9, [](double) { return 0.0; }, 1.0, 7.0, 3},  // no variance
        {9, 9, [](double x) { return 1e-310 * (9.0 - x); }, 1.0, 0.0, 3},
        {9, 9, [](double x) { return 1.0 + x; }, 1.0, 0.0, 3},         // held at c0
        {9, 9, [](double x) { return 1.0 - x; }, 1.0, 0.0, 3},         // and at -c0
        {20, 20, [](double x) { return std::cos(x); }, 2.0, 0.0, 20},  // not positive definite
        {20, 20, exponential, -0.01, 0.0, 4},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        KrReArray const array = fieldOf(c.columns, c.rows, c.f, c.spacing, c.mean, c.samples);
        double const nextDraw = KrMath::unifRand();
        KrRealVector cells(std::size_t{c.columns} * c.rows, nan);
        KrRandomTensorTool tool;
        tool.setNumRandomSamples(c.samples);
        tool.setRandomSeed(11);
        Correlation correlation(c.f);
        EXPECT_TRUE(
            tool.fillGaussianRandomArray(cells, c.columns, c.rows, correlation, c.spacing, c.mean));
        EXPECT_EQ(KrMath::unifRand(), nextDraw);
        auto cell = cells.begin();
        for (KrRealVector const& row : array.rows()) {
            ASSERT_TRUE(std::equal(row.begin(), row.end(), cell));
            cell += static_cast<std::ptrdiff_t>(row.size());
        }
        KrRandom::seed(11);
        EXPECT_EQ(array.rows(), PlainRandomField::field(c.columns, c.rows, Correlation(c.f),
                                                        c.spacing, c.mean, c.samples));
        EXPECT_EQ(KrMath::unifRand(), nextDraw);
        EXPECT_EQ(array.numColumns(), c.columns);
    }
}

TEST(RandomField, OddArgumentsGiveFiniteFields) {
    auto const atDistance = [](double where, double value) {
        return [where, value](double x) { return x == where ? value : exponential(x); };
    };
    constexpr bool varies = true;
    constexpr bool isMean = false;
    struct {
        std::function<double(double)> f;
        double spacing;
        bool result;
    } const cases[] = {
        {[](double x) { return std::exp(-x * x / 2500.0); }, 1.0, varies},  // nearly singular
        {atDistance(4.0, nan), 1.0, varies},
        {atDistance(4.0, inf), 1.0, varies},
        {[](double x) { return 1e300 * exponential(x); }, 1.0, varies},
        {atDistance(0.0, nan), 1.0, isMean},
        {atDistance(0.0, -1.0), 0.0, isMean},
        {[](double) { return nan; }, 1.0, isMean},
        {[](double x) { return -exponential(x); }, 1.0, isMean},
        {exponential, nan, isMean},
        {exponential, inf, isMean},
        {exponential, 0.0, varies},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        KrReArray const array = fieldOf(40, 30, c.f, c.spacing, 1.0, 20);
        bool differs = false;
        for (KrRealVector const& row : array.rows()) {
            for (double const value : row) {
                ASSERT_TRUE(std::isfinite(value));
                differs = differs || value != 1.0;
            }
        }
        EXPECT_EQ(differs, c.result);
    }
    CapturedMessages const captured;
    KrRealVector cells(11, 5.0);
    Correlation correlation(exponential);
    KrRandomTensorTool const tool;
    EXPECT_FALSE(tool.fillGaussianRandomArray(cells, 4, 3, correlation, 1.0, 0.0));
    EXPECT_EQ(cells, KrRealVector(11, 5.0));
    ASSERT_EQ(captured.messages.size(), 1U);
    EXPECT_EQ(captured.messages[0].text, "random field: expected 12 cells, found 11\n");
    EXPECT_TRUE(std::isnan(fieldOf(1, 1, exponential, 1.0, nan, 3)[0][0]));
    EXPECT_EQ(fieldOf(1, 1, exponential, 1.0, inf, 3)[0][0], inf);
}

}  // namespace
