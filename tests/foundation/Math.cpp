#include "foundation/math/KrMath.h"
#include "foundation/math/KrRandom.h"
#include "foundation/math/KrRandomScope.h"
#include "foundation/math/KrRandomStream.h"
#include "foundation/math/KrReArray.h"
#include "foundation/math/internal/KrElementary.h"
#include "support/PlainRandomField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace {

TEST(Math, NonZeroPosIsADivisor) {
    EXPECT_EQ(KrMath::nonZeroPos(2.0), 2.0);
    for (double const x : {0.0, -1.0, 1e-300, std::nan("")}) {
        EXPECT_EQ(KrMath::nonZeroPos(x), 1e-300);
    }
    EXPECT_EQ(KrMath::sqrt(2.0), 1.4142135623730951);
}

TEST(Random, ASeedGivesTheSameBitsEverywhere) {
    KrRandom::seed(42);
    double const first = KrMath::unifRand();
    EXPECT_EQ(first, 0x1.82a3befaddcbcp-1);
    EXPECT_EQ(KrRandom::uniformRealRandom(-2.0, 2.0), 0x1.1cbc7dcdc928p-1);
    KrRealVector const normals = KrRandom::normalRandoms(10.0, 2.0, 3);
    EXPECT_EQ(normals,
              (KrRealVector{0x1.695ea44e5394cp+2, 0x1.2f678ffab4b3cp+3, 0x1.aa8fcb2be98bep+2}));
    KrRandom::seed(42);
    EXPECT_EQ(KrMath::unifRand(), first);
    EXPECT_EQ(KrRandom::normalRandoms(0.0, 1.0, 0).size(), 0U);
}

TEST(Random, TheEngineIsTheStandardOne) {
    std::mt19937_64 engine(123);
    KrRandom::seed(123);
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(KrMath::unifRand(), static_cast<double>(engine() >> 11) * 0x1p-53) << i;
    }
}

TEST(Random, AScopeInstallsAStreamForItsThread) {
    auto const draw = [] { return KrRandom::normalRandoms(0.0, 1.0, 400); };
    KrRandomStream stream(3);
    KrRandomStream const kept(stream);
    KrRandom::seed(8);
    KrRealVector const ofEight = draw();
    KrRandom::seed(8);
    KrRealVector first;
    {
        KrRandomScope const scope(stream);
        first = draw();
        EXPECT_FALSE(stream == kept);
        KrRandomStream inner(4);
        {
            KrRandomScope const nested(inner);
            KrRandom::seed(3);  // that of the innermost scope
            EXPECT_EQ(draw(), first);
            EXPECT_TRUE(inner == stream);
        }
        KrRealVector elsewhere;
        std::thread([&] { elsewhere = draw(); }).join();  // draws from the shared stream
        EXPECT_EQ(elsewhere, ofEight);
        stream = kept;
        EXPECT_EQ(draw(), first);
    }
    KrRandom::seed(3);
    EXPECT_EQ(draw(), first);
    EXPECT_EQ(KrRandomScope::current(), nullptr);
}

TEST(Random, ElementaryFunctionsAreAsExactAsTheCLibrary) {
    constexpr double ulp = 0x1p-52;
    for (int i = 1; i < 100'000; ++i) {
        double const u = i * 1e-5;
        EXPECT_NEAR(KrElementary::exp(-40.0 * u) / std::exp(-40.0 * u), 1.0, 2.0 * ulp);
        EXPECT_NEAR(KrElementary::log(u) / std::log(u), 1.0, 2.0 * ulp);
        double sine = 0.0;
        double cosine = 0.0;
        KrElementary::sineAndCosine(7.0 * u, sine, cosine);
        EXPECT_NEAR(sine, std::sin(7.0 * u), ulp);
        EXPECT_NEAR(cosine, std::cos(7.0 * u), ulp);
    }
}

// Counts two million values in 200 bins of equal probability, and in the tail beyond the
// layers of the ziggurat. Each count lies within five standard errors.
TEST(Random, NormalsAreNormal) {
    KrRandom::seed(7);
    constexpr KrU32 count = 2'000'000;
    constexpr double bins = 200.0;
    std::vector<double> found(static_cast<std::size_t>(bins));
    double inTail = 0.0;
    for (double const z : KrRandom::normalRandoms(0.0, 1.0, count)) {
        found[static_cast<std::size_t>(bins * 0.5 * std::erfc(-z / std::sqrt(2.0)))] += 1.0;
        inTail += std::fabs(z) > 3.6541528853610088;
    }
    double chiSquared = 0.0;
    for (double const number : found) {
        double const difference = number - count / bins;
        chiSquared += difference * difference / (count / bins);
    }
    EXPECT_NEAR(chiSquared, bins - 1.0, 5.0 * std::sqrt(2.0 * bins));
    EXPECT_NEAR(inTail, 516.1, 5.0 * std::sqrt(516.1));
}

TEST(ReArray, ResizesKeepingOrFilling) {
    KrReArray array(2, 2);
    array[0][1] = 5.0;
    array.resizeArray(3, 3);
    EXPECT_EQ(array.rows(), (std::vector<KrRealVector>{{0, 5, 0}, {0, 0, 0}, {0, 0, 0}}));
    array.resizeArrayAndFill(1, 2, 7.0);
    EXPECT_EQ(array.rows(), (std::vector<KrRealVector>{{7, 7}}));
    EXPECT_EQ(array.numRows(), 1U);
    EXPECT_EQ(array.numColumns(), 2U);
    EXPECT_EQ(KrReArray().numRows(), 0U);
}

TEST(ReArray, CholeskyFactors) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double inf = std::numeric_limits<double>::infinity();
    struct {
        std::vector<KrRealVector> matrix;
        std::vector<KrRealVector> factor;
        bool positiveDefinite;
    } const cases[] = {
        {{{4, 2, 6}, {2, 10, 9}, {6, 9, 14.25}},
         {{2, 0, 0}, {1, 3, 0}, {3, 2, 1.1180339887498949}},
         true},
        // Indefinite whatever is added: the second column is left out, the rest goes on.
        {{{1, 2, 1}, {2, 1, 1}, {1, 1, 5}}, {{1, 0, 0}, {2, 0, 0}, {1, 0, 2}}, false},
        {{{0, 0}, {0, 0}}, {{0, 0}, {0, 0}}, false},
        {{{inf, 1}, {1, -1}}, {{inf, 0}, {0, 0}}, false},
        {{{nan, 0}, {1, 4}}, {{0, 0}, {0, 2}}, false},
        {{{4, 1, 1}, {2, 5, 1}}, {{2, 0}, {1, 2}}, false},  // not square
        {{}, {}, true},
    };
    for (auto const& test : cases) {
        std::vector<KrRealVector> const& rows = test.matrix;
        KrReArray array(static_cast<KrU32>(rows.size()),
                        static_cast<KrU32>(rows.empty() ? 0 : rows[0].size()));
        for (KrU32 i = 0; i < array.numRows(); ++i) {
            array[i] = rows[i];
        }
        EXPECT_EQ(array.choleskyDecomposition(array), test.positiveDefinite);  // in place
        EXPECT_EQ(array.rows(), test.factor);
    }
}

// Sizes about those of the blocks. From row `indefinite` on some pivots are not positive,
// whatever is added to the diagonal.
TEST(ReArray, CholeskyHasTheBitsOfItsPlainForm) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (KrU32 const n : {1U, 2U, 4U, 5U, 31U, 32U, 33U, 36U, 70U, 101U}) {
        for (KrU32 const indefinite : {n, 0U, n / 2, n - 1}) {
            SCOPED_TRACE(testing::Message() << n << ", indefinite from " << indefinite);
            KrReArray array(n, n);
            for (KrU32 i = 0; i < n; ++i) {
                for (KrU32 j = 0; j < i; ++j) {
                    array[i][j] = unit(random);
                    array[j][i] = std::nan("");  // is not read
                }
                array[i][i] = i >= indefinite && i % 3 == indefinite % 3 ? -1.0 : 1.0 * n;
            }
            bool positiveDefinite = false;
            auto const plain = PlainRandomField::choleskyFactor(array.rows(), positiveDefinite);
            KrReArray factor(3, 2);
            EXPECT_EQ(array.choleskyDecomposition(factor), positiveDefinite);
            EXPECT_EQ(factor.rows(), plain);
            EXPECT_EQ(factor.numColumns(), n);
        }
    }
}

// Correlations that are singular in double precision, also typed with a few digits: what
// is added to the diagonal is no more than the digits leave open.
TEST(ReArray, CholeskyKeepsTheVarianceOfSmoothCorrelations) {
    using Function = std::function<double(double)>;
    std::vector<Function> correlations{[](double d) { return d == 0.0 ? 1.0 : std::sin(d) / d; },
                                       [](double d) { return 1.0 / (1.0 + d * d / 1600.0); }};
    for (double const length : {3.0, 5.0, 7.0, 10.0, 20.0}) {
        correlations.push_back([=](double d) { return std::exp(-d * d / (length * length)); });
    }
    for (auto const& [power, added] :
         {std::pair{1e3, 1e-2}, {1e4, 1e-3}, {1e6, 1e-5}, {1e8, 1e-7}, {0.0, 1e-13}}) {
        for (Function const& correlation : correlations) {
            for (KrU32 const n : {30U, 100U}) {
                KrReArray matrix(n, n);
                for (KrU32 i = 0; i < n; ++i) {
                    for (KrU32 j = 0; j <= i; ++j) {
                        double const r = correlation(i - j);
                        matrix[i][j] = power > 0.0 ? std::round(r * power) / power : r;
                    }
                }
                KrReArray factor;
                ASSERT_TRUE(matrix.choleskyDecomposition(factor));
                double largestError = 0.0;
                for (KrU32 i = 0; i < n; ++i) {
                    for (KrU32 j = 0; j <= i; ++j) {
                        double const product = std::inner_product(
                            factor[i].begin(), factor[i].end(), factor[j].begin(), 0.0);
                        largestError = std::max(largestError, std::fabs(product - matrix[i][j]));
                    }
                }
                EXPECT_LE(largestError, added + 1e-14 * n);
            }
        }
    }
}

}  // namespace
