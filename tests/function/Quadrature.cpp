// Gauss quadrature: its tables, the order of its evaluations, and its orders.

#include "foundation/xml/KrXml.h"
#include "function/tools/KrGaussQuadrature.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace {

constexpr KrU32 orders[] = {2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12,  13,
                            14, 15, 16, 17, 18, 19, 20, 32, 64, 96, 100, 128};

double cubic(double x) { return 1.0 + x * (2.0 + x * (3.0 + x)); }

KrGaussQuadrature quadratureOf(KrU32 order) {
    KrGaussQuadrature quadrature;
    quadrature.setOrder(order);
    EXPECT_EQ(quadrature.order(), order);
    return quadrature;
}

// Sets the order as reading does, without the tables.
void readOrder(KrGaussQuadrature& quadrature, KrU32 order) {
    EXPECT_TRUE(reads(quadrature, component("order", std::to_string(order))));
    EXPECT_EQ(quadrature.order(), order);
}

// The order of the rule that it integrates by.
std::size_t evaluationsOf(KrGaussQuadrature const& quadrature) {
    std::size_t count = 0;
    auto const counted = [&count](double x) { return ++count, cubic(x); };
    EXPECT_NEAR(quadrature.integrate(counted, 0.0, 1.0), 3.25, 1e-14);
    return count;
}

// 113 bits: enough to tell the nearest double of a node and of a weight.
__extension__ typedef __float128 Quad;

struct Legendre {
    Quad value, slope;
};

Legendre legendre(KrU32 n, Quad x) {
    Quad before = 1;
    Quad value = x;
    for (KrU32 k = 1; k < n; ++k) {
        Quad const next = ((2 * k + 1) * x * value - k * before) / (k + 1);
        before = value;
        value = next;
    }
    return {value, n * (before - x * value) / (1 - x * x)};
}

TEST(GaussQuadrature, TablesAreTheNearestDoubles) {
    KrGaussQuadrature const quadrature;
    for (KrU32 const n : orders) {
        double const* x = nullptr;
        double const* w = nullptr;
        quadrature.obtainAbscissasAndWeights(n, x, w);
        ASSERT_TRUE(x && w) << n;
        double below = n % 2 ? -1.0 : 0.0;
        for (KrU32 i = 0; i < (n + 1) / 2; ++i) {
            SCOPED_TRACE(testing::Message() << "order " << n << ", node " << i);
            ASSERT_TRUE(below < x[i] && x[i] < 1.0);  // so that no root stands twice
            below = x[i];
            Quad root = x[i];
            for (int step = 0; step < 3; ++step) {
                Legendre const p = legendre(n, root);
                root -= p.value / p.slope;
            }
            Quad const slope = legendre(n, root).slope;
            EXPECT_EQ(x[i], static_cast<double>(root));
            EXPECT_EQ(w[i], static_cast<double>(2 / ((1 - root * root) * slope * slope)));
        }
    }
}

TEST(GaussQuadrature, EvaluatesInPairsFromTheMiddleOutwards) {
    for (KrU32 const n : orders) {
        SCOPED_TRACE(n);
        KrGaussQuadrature const quadrature = quadratureOf(n);
        double const* x = nullptr;
        double const* w = nullptr;
        quadrature.obtainAbscissasAndWeights(n, x, w);
        KrU32 evaluations = 0;
        double pair = 0.0;
        double sum = 0.0;
        auto const f = [&](double at) {
            double const offset = 0.625 * x[(evaluations + n % 2) / 2];
            EXPECT_EQ(at, (evaluations + n) % 2 ? 0.875 - offset : 0.875 + offset);
            pair += cubic(at);
            if ((++evaluations + n) % 2 == 0) {
                sum += w[(evaluations - 1 + n % 2) / 2] * std::exchange(pair, 0.0);
            }
            return cubic(at);
        };
        double const integral = quadrature.integrate(f, 0.25, 1.5);
        EXPECT_EQ(integral, 0.625 * sum);  // to the last bit
        EXPECT_EQ(evaluations, n);
        EXPECT_EQ(quadrature.integrate(cubic, 1.7, 0.3), -quadrature.integrate(cubic, 0.3, 1.7));
    }
}

TEST(GaussQuadrature, ACallableIsAnIntegrand) {
    // An integrand's own `evaluate` comes before its call operator, and a derived class's
    // `integrate` before the base's.
    struct Both : KrRealRealUnaryFunction {
        double evaluate(double x) const override { return cubic(x); }
        double operator()(double) const { return 0.0; }
    };
    struct Halved : KrGaussQuadrature {
        using KrGaussQuadrature::integrate;
        double integrate(KrRealRealUnaryFunction const& f, double a, double b) const override {
            return 0.5 * KrGaussQuadrature::integrate(f, a, b);
        }
    };
    KrGaussQuadrature const quadrature;
    double const expected = quadrature.integrate(Both(), -1.0, 2.0);
    int evaluations = 0;
    auto counted = [evaluations](double x) mutable { return ++evaluations <= 10 ? cubic(x) : x; };
    EXPECT_DOUBLE_EQ(expected, 18.75);
    EXPECT_EQ(quadrature.integrate(cubic, -1.0, 2.0), expected);
    EXPECT_EQ(quadrature.integrate(counted, -1.0, 2.0), expected);
    EXPECT_EQ(Halved().integrate(cubic, -1.0, 2.0), 0.5 * expected);
}

TEST(GaussQuadrature, ReportsAnOrderThatItHasNot) {
    KrGaussQuadrature quadrature = quadratureOf(7);
    double const mark = 0.0;
    for (KrU32 const order : {0U, 1U, 21U, 31U, 33U, 127U, 129U, 2147483647U}) {
        CapturedMessages const captured;
        quadrature.setOrder(order);
        EXPECT_EQ(captured.text(),
                  "The order of " + std::to_string(order) + " is not supported.\n");
        EXPECT_EQ(static_cast<int>(captured.messages.at(0).type), 4);
        EXPECT_EQ(quadrature.order(), 7U);
        EXPECT_EQ(evaluationsOf(quadrature), 7U);
        double const* x = &mark;
        double const* w = &mark;
        quadrature.obtainAbscissasAndWeights(order, x, w);
        EXPECT_TRUE(x == &mark && w == &mark);
    }
}

TEST(GaussQuadrature, AReadOrderIsFollowedWhereThereAreTables) {
    CapturedMessages const captured;
    KrGaussQuadrature quadrature = quadratureOf(5);
    for (KrU32 const order : orders) {
        readOrder(quadrature, order);
        EXPECT_EQ(evaluationsOf(quadrature), order);
    }
    for (KrU32 const order : {0U, 1U, 21U, 129U, 4294967295U}) {
        readOrder(quadrature, order);
        EXPECT_EQ(evaluationsOf(quadrature), 5U);  // the last that was set
        // Equality ignores the rule that was set.
        KrGaussQuadrature other;
        EXPECT_FALSE(other == quadrature);
        readOrder(other, order);
        EXPECT_TRUE(other == quadrature);
        EXPECT_EQ(evaluationsOf(other), 10U);
        other = quadrature;
        EXPECT_EQ(evaluationsOf(other), 5U);
    }
    EXPECT_TRUE(captured.messages.empty());
    // A document replaces the whole object.
    std::string const text = document("gaussQuadrature", component("order", "1"));
    ASSERT_TRUE(KrXml::fromString(text, quadrature));
    EXPECT_EQ(evaluationsOf(quadrature), 10U);
    readOrder(quadrature, 12);
    quadrature.setOrder(quadrature.order());
    readOrder(quadrature, 1);
    EXPECT_EQ(evaluationsOf(quadrature), 12U);
}

TEST(GaussQuadrature, ADerivedClassMayBringTables) {
    struct Midpoint : KrGaussQuadrature {
        void obtainAbscissasAndWeights(KrU32 order, double const*& abscissas,
                                       double const*& weights) const override {
            static constexpr double node = 0.0;
            static constexpr double weight = 2.0;
            KrGaussQuadrature::obtainAbscissasAndWeights(order, abscissas, weights);
            if (order == 1) {
                abscissas = &node;
                weights = &weight;
            }
        }
    } midpoint;
    auto const square = [](double x) { return x * x; };
    midpoint.setOrder(1);
    EXPECT_EQ(midpoint.integrate(square, 0.0, 4.0), 16.0);
    midpoint.setOrder(4);
    readOrder(midpoint, 1);
    EXPECT_EQ(midpoint.integrate(square, 0.0, 4.0), 16.0);
}

TEST(GaussQuadrature, ValuesAndExceptionsOfTheFunctionPass) {
    KrGaussQuadrature quadrature;
    double const inf = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(std::signbit(quadrature.integrate([](double) { return -0.0; }, 0.0, 1.0)));
    EXPECT_EQ(quadrature.integrate([&](double) { return inf; }, 0.0, 1.0), inf);
    EXPECT_TRUE(std::isnan(quadrature.integrate([](double x) { return x; }, 0.0, inf)));
    auto const thrower = [](double x) { return x > 0.9 ? throw std::runtime_error("no") : x; };
    EXPECT_THROW(quadrature.integrate(thrower, 0.0, 1.0), std::runtime_error);
    EXPECT_EQ(evaluationsOf(quadrature), 10U);
    // If the function sets an order, the next integral has it.
    auto const setter = [&](double x) { return quadrature.setOrder(128), x; };
    EXPECT_NEAR(quadrature.integrate(setter, 0.0, 1.0), 0.5, 1e-15);
    EXPECT_EQ(evaluationsOf(quadrature), 128U);
}

}  // namespace
