#include "benchmarks/MoreWild.h"

#include <gtest/gtest.h>

using MoreWild::Variant;

// The starting values, to the seven digits that the literature gives.
TEST(MoreWild, ProblemsStartAtThePublishedValues) {
    constexpr double published[] = {
        72,          1125,        1.16542e7,   1.168591e9,  4.989195e6,  5.009356e8,  24.2,
        1.795769e6,  2500,        10600,       215,         1.6154e6,    400.5,       1.545754e8,
        41.6817,     1306.234,    5.313172e-3, 1.693608e9,  16.43083,    2.323367e6,  26.90417,
        8.158877e6,  73.67821,    2.059384e7,  1031.154,    4171.306,    7.926693e6,  3.081064e11,
        4.642817e-2, 3.377064e-2, 3.861770e-2, 2.888298e-2, 3.376327e-2, 2.674060e-2, 273.248,
        16.17411,    2.09342,     199.6847,    904,         1356,        1582,        1808,
        56.5,        70.5625,     98.6875,     2.539084e9,  6.873795e12, 3.367961e9,  3.735127e9,
        3.991072e9,  1.130015e13, 9.385672,    3.365815e10};
    ASSERT_EQ(std::size(published), MoreWild::problems.size());
    for (std::size_t i = 0; i < MoreWild::problems.size(); ++i) {
        MoreWild::Problem const& problem = MoreWild::problems[i];
        MoreWild::Function const f(problem, Variant::smooth);
        EXPECT_NEAR(f.evaluate(problem.start()), published[i], 6e-7 * published[i])
            << problem.itsFamily().name << ", n = " << problem.n;
    }
}

TEST(MoreWild, ProblemsHaveThePublishedMinima) {
    struct Row {
        std::size_t problem;
        double value;
        KrRealVector at;
    };
    Row const rows[] = {
        {6, 0.0, {1, 1}},
        {8, 0.0, {1, 0, 0}},
        {12, 48.98425, {11.4127790, -0.8968053}},
        {14, 8.214877e-3, {0.0824106, 1.1330361, 2.3436952}},
        {16, 3.075056e-4, {0.1928069, 0.1912823, 0.1230565, 0.1360623}},
        {17, 87.94586, {0.00560963647, 6181.34635, 345.223635}},
        {18,
         2.287670e-3,
         {-0.0157250864, 1.01243487, -0.232991625, 1.26043009, -1.51372892, 0.992996432}},
        {24, 0.0, {1, 10, 1}},
        {25, 124.3622, {0.2578252, 0.2578252}},
        {26, 85822.20, {-11.5944399, 13.2036300, -0.4034395, 0.2367788}},
        {35, 5.464895e-5, {0.3754101, 1.9358470, -1.4646871, 0.01286753, 0.02212270}},
        {36,
         4.013774e-2,
         {1.3099771, 0.4315538, 0.6336617, 0.5994305, 0.7541832, 0.9042886, 1.3658118, 4.8236988,
          2.3986849, 4.5688746, 5.6753415}},
    };
    for (Row const& row : rows) {
        MoreWild::Function const f(MoreWild::problems[row.problem], Variant::smooth);
        EXPECT_NEAR(f.evaluate(row.at), row.value, 1e-5 * row.value) << row.problem;
    }
}

TEST(MoreWild, VariantsDifferAsPublished) {
    auto const value = [](std::size_t problem, Variant variant, KrRealVector const& x) {
        return MoreWild::Function(MoreWild::problems[problem], variant).evaluate(x);
    };
    EXPECT_DOUBLE_EQ(value(6, Variant::piecewiseSmooth, {2, 3}), 10 + 1);
    // Jennrich and Sampson's function at max(x, 0).
    EXPECT_DOUBLE_EQ(value(25, Variant::piecewiseSmooth, {-1, -2}), 110);
    // T3(0.1) = -0.296 at the origin, where Rosenbrock's function is 1.
    EXPECT_DOUBLE_EQ(value(6, Variant::noisy, {0, 0}), 1 - 2.96e-4);
    EXPECT_DOUBLE_EQ(value(6, Variant::noisy, {-0.5, 1.25}), 102.35092988477449);
}
