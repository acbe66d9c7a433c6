// Constraints: the bits of evaluate and gradient are those of plain loops over the look-ups,
// for lists of any order, read or set.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/multivariable/KrQuadraticMultivariableConstraint.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "tests/support/Bits.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

namespace {

using Linear = KrLinearMultivariableConstraint;
using Quadratic = KrQuadraticMultivariableConstraint;
using Pair = std::pair<KrU32, KrU32>;

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The coefficients that the lists define.
struct Model {
    std::map<KrU32, double> first;
    std::map<Pair, double> second;

    double a(KrU32 i) const { return first.contains(i) ? first.at(i) : 0.0; }
    double q(KrU32 i, KrU32 j) const {
        auto const entry = second.find(std::minmax(i, j));
        return entry != second.end() ? entry->second : 0.0;
    }
};

// A derived class may override the look-ups. It evaluates by plain loops over them.
template <class Constraint>
struct Plain : Constraint {
    explicit Plain(Constraint const& source) : Constraint(source) {}
};

template <class Constraint>
void expectBitsOfPlainLoops(Constraint const& constraint, KrRealVector const& x) {
    Plain<Constraint> const plain(constraint);
    EXPECT_EQ(bits(constraint.evaluate(x)), bits(plain.evaluate(x)));
    EXPECT_EQ(bits(constraint.gradient(x)), bits(plain.gradient(x)));
}

struct Random {
    KrU32 below(KrU32 n) { return static_cast<KrU32>(engine() % n); }
    // Special values show a skipped or a reordered operation.
    double value(KrU32 oneSpecialIn) {
        static constexpr double specials[] = {0.0, -0.0, -0.0, 5e-324, 1e300, inf, -inf, nan};
        return below(oneSpecialIn) == 0 ? specials[below(8)] : below(2000001) / 1e6 - 1.0;
    }
    KrRealVector point(KrU32 n, KrU32 oneSpecialIn) {
        KrRealVector x(n);
        std::generate(x.begin(), x.end(), [&] { return value(oneSpecialIn); });
        return x;
    }
    std::mt19937 engine;
};

std::string text(double value) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(value, room));
}

// A document with lists in any order and of different lengths, repetitions, descending
// pairs and very large indices. `model` receives the coefficients.
std::string randomDocument(Random& random, KrU32 n, KrU32 shape, Model& model) {
    std::string lists[4];
    KrU32 const range = n + 2;
    auto const index = [&](KrU32 i) { return random.below(50) == 0 ? 4294967295U - i : i; };
    KrU32 const coefficients = random.below(range);
    for (KrU32 k = 0; k < range; ++k) {
        KrU32 const i = index(shape == 0 ? k : random.below(range));
        double const value = k < coefficients ? random.value(9) : 0.0;
        lists[0] += item(std::to_string(i));
        lists[1] += k < coefficients ? item(text(value)) : "";
        model.first.emplace(i, value);
    }
    auto const addPair = [&](KrU32 i, KrU32 j) {
        double const value = random.value(shape == 0 ? 1000 : 9);
        lists[2] +=
            item(component("first", std::to_string(i)) + component("second", std::to_string(j)));
        lists[3] += item(text(value));
        if (i <= j) {
            model.second.emplace(Pair(i, j), value);
        }
    };
    KrU32 const first = random.below(2);  // on the diagonal, or beside it
    for (KrU32 i = 0; i < range; ++i) {
        for (KrU32 j = i + first; j < range; ++j) {
            if (shape == 0 || (shape == 1 && j - i < 4 && random.below(20) != 0)) {
                addPair(i, j);  // all in order, or bands with holes
            } else if (shape == 2 && random.below(range) < 2) {
                addPair(index(random.below(range)), index(random.below(range)));
            }
        }
    }
    lists[3] += random.below(2) == 0 ? item("7") : "";  // belongs to no pair
    return document("quadraticMultivariableConstraint",
                    component("offset", text(random.value(3))) +
                        component("firstOrderIndices", lists[0]) +
                        component("firstOrderCoefficients", lists[1]) +
                        component("secondOrderIndexPairs", lists[2]) +
                        component("secondOrderCoefficients", lists[3]));
}

// A look-up of every pair of so many components would take minutes.
TEST(Constraints, FewPairsCostLittleWhateverThePoint) {
    constexpr KrU32 n = 500'000;
    Quadratic constraint;
    for (KrU32 i = 0; i < 30; ++i) {
        constraint.setSecondOrderCoefficient(1000 * i, 1000 * i + 7, 1.0);
    }
    for (double const component : {nan, inf, -inf}) {
        KrRealVector x(n, 0.5);
        x[4711] = component;
        EXPECT_TRUE(std::isnan(constraint.evaluate(x)));
        EXPECT_TRUE(std::isnan(constraint.gradient(x)[3]));
    }
    constraint.setOffset(-0.0);
    EXPECT_EQ(bits(constraint.evaluate(KrRealVector(n, 0.0))), bits(0.0));
    EXPECT_EQ(constraint.evaluate(KrRealVector(n, 0.5)), 7.5);
}

TEST(Constraints, DocumentsOfAnyListsGiveTheBitsOfThePlainLoop) {
    Random random;
    Quadratic constraint;
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        KrU32 const n = random.below(round % 50 == 0 ? 160 : 24);
        Model model;
        std::string const text = randomDocument(random, n, static_cast<KrU32>(round % 3), model);
        CapturedMessages const captured;
        ASSERT_TRUE(KrXml::fromString(text, constraint)) << text << captured.text();
        for (KrU32 const oneSpecialIn : {1000000U, 5U}) {
            expectBitsOfPlainLoops(constraint, random.point(n, oneSpecialIn));
        }
        for (KrU32 const far : {0U, 1U, n, 4294967294U, 4294967295U}) {
            EXPECT_EQ(bits(constraint.firstOrderCoefficient(far)), bits(model.a(far)));
            EXPECT_EQ(bits(constraint.secondOrderCoefficient(1, far)), bits(model.q(1, far)));
            EXPECT_EQ(bits(constraint.secondOrderCoefficient(far)), bits(model.q(far, far)));
        }
    }
}

TEST(Constraints, TermsThatAreNotListedTurnANegativeZeroPositive) {
    Quadratic quadratic;
    Linear linear;
    quadratic.setOffset(-0.0);
    linear.setOffset(-0.0);
    EXPECT_EQ(bits(quadratic.evaluate(KrRealVector())), bits(-0.0));
    for (double const component : {1.0, -1.0, 0.0, -0.0}) {
        KrRealVector x(20, -1.0);
        x.back() = component;
        expectBitsOfPlainLoops(quadratic, x);
        EXPECT_EQ(bits(linear.evaluate(x)), bits(0.0 * component));
    }
}

TEST(Constraints, SettersKeepTheIndexTrueToTheLists) {
    Random random;
    for (KrU32 const range : {3U, 30U, 200U}) {
        Quadratic quadratic;
        Linear linear;
        Model model;
        for (int step = 0; step < 3000; ++step) {
            KrU32 const i = random.below(range);
            KrU32 const j = random.below(range);
            double const value = random.value(1000000);
            if (random.below(8) == 0) {
                quadratic.setFirstOrderCoefficient(i, value);
                linear.setCoefficient(i, value);
                model.first[i] = value;
                quadratic.setSecondOrderCoefficient(i, value);
                model.second[{i, i}] = value;
            } else {
                quadratic.setSecondOrderCoefficient(i, j, value);
                model.second[std::minmax(i, j)] = value;
            }
            ASSERT_EQ(quadratic.secondOrderCoefficient(j, i), model.q(i, j));
            ASSERT_EQ(quadratic.firstOrderCoefficient(j), model.a(j));
            ASSERT_EQ(linear.coefficient(j), model.a(j));
            if (step % 500 == 17) {
                KrRealVector const x = random.point(range / 2, 1000000);
                expectBitsOfPlainLoops(quadratic, x);
                expectBitsOfPlainLoops(linear, x);
                Quadratic copy(quadratic);
                copy.setSecondOrderCoefficient(i, j, value + 1.0);
                EXPECT_EQ(quadratic.secondOrderCoefficient(i, j), model.q(i, j));
                copy = quadratic;
                expectBitsOfPlainLoops(copy, x);
            }
        }
        // Each index was listed once.
        std::string const pairs = "Pairs count=\"" + std::to_string(model.second.size()) + "\"";
        EXPECT_NE(KrXml::toString(quadratic).find(pairs), std::string::npos);
    }
}

// 1 + ..., with these items in its lists.
Linear linearOf(std::string const& indices, std::string const& coefficients) {
    Linear constraint;
    EXPECT_TRUE(KrXml::fromString(
        document("linearMultivariableConstraint",
                 component("offset", "1") + component("firstOrderIndices", indices) +
                     component("firstOrderCoefficients", coefficients)),
        constraint));
    return constraint;
}

TEST(Constraints, SettersPadTheShorterListWithoutEffect) {
    Linear const fewCoefficients = linearOf(item("0") + item("2"), item("3"));
    Linear const fewIndices = linearOf(item("0"), item("3") + item("4") + item("5"));
    for (Linear const& before : {fewCoefficients, fewIndices, linearOf("", item("4"))}) {
        for (KrU32 const index : {0U, 2U, 7U}) {
            Linear constraint(before);
            constraint.setCoefficient(index, 6.0);
            for (KrU32 i = 0; i < 9; ++i) {
                EXPECT_EQ(constraint.coefficient(i), i == index ? 6.0 : before.coefficient(i));
            }
        }
    }
}

TEST(Constraints, FollowListsThatAreChangedAsComponents) {
    for (KrU32 const count : {3U, 40U}) {
        Linear constraint;
        for (KrU32 i = 0; i < count; ++i) {
            constraint.setCoefficient(i, i + 1.0);
        }
        KrRealVector const x(50, 1.0);
        double const before = constraint.evaluate(x);
        auto const* const entry =
            constraint.componentMap().find(KrFunction::KrFirstOrderCoefficientsToken);
        dynamic_cast<KrXmlRealVector&>(*entry->object)[1] = 5.0;
        EXPECT_EQ(constraint.coefficient(1), 5.0);
        EXPECT_EQ(constraint.evaluate(x), before + 3.0);
        EXPECT_NE(constraint.gradient(x), KrRealVector(50, 0.0));
        auto const* const list =
            constraint.componentMap().find(KrFunction::KrFirstOrderIndicesToken);
        dynamic_cast<KrXmlVectorType<KrXmlBasicType<KrU32>>&>(*list->object).clear();
        EXPECT_EQ(constraint.gradient(x), KrRealVector(50, 0.0));
    }
}

TEST(Constraints, LinearConstraintIsTheSumOfWhatThePointReaches) {
    Linear constraint = linearOf(item("0") + item("2"), item("3") + item("4"));
    Linear const fresh(constraint);
    EXPECT_EQ(constraint.evaluate(KrRealVector{1, 1, 1}), 8.0);
    EXPECT_EQ(constraint.evaluate(KrRealVector{1, 1}), 4.0);
    EXPECT_EQ(constraint.gradient(KrRealVector{nan, 7, 8}), KrRealVector({3 / 5.0, 0, 4 / 5.0}));
    // The last gradient is part of the value.
    EXPECT_FALSE(constraint == fresh);
    EXPECT_TRUE(Linear(constraint) == constraint);
    EXPECT_EQ(fresh.gradient(KrRealVector{1, 1}), KrRealVector({1, 0}));
    fresh.gradient(KrRealVector{1, 1, 1});
    EXPECT_TRUE(constraint == fresh);
    constraint.setCoefficient(2, nan);
    constraint.gradient(KrRealVector{1, 1, 1});
    EXPECT_FALSE(constraint == Linear(constraint));
}

TEST(Constraints, QuadraticConstraintHasEachPairOnceAndAUnitGradient) {
    Quadratic constraint;
    constraint.setFirstOrderCoefficient(0, 1.0);
    constraint.setSecondOrderCoefficient(0, 1.0);
    constraint.setSecondOrderCoefficient(1, 0, 2.0);
    EXPECT_EQ(constraint.evaluate(KrRealVector{1, 2}), 6.0);
    KrRealVector const expected{7 / std::sqrt(53.0), 2 / std::sqrt(53.0)};
    EXPECT_EQ(constraint.gradient(KrRealVector{1, 2}), expected);

    // The last gradient may itself be the point.
    KrRealVector const again = Quadratic(constraint).gradient(expected);
    EXPECT_EQ(constraint.gradient(constraint.gradient(KrRealVector{1, 2})), again);
}

TEST(Constraints, ContainersEvaluateTheirConstraint) {
    KrMultivariableConstraintContainer container;
    KrXmlRealVector const x = KrXmlRealVector::fromValues({1.0, 2.0});
    EXPECT_EQ(container.evaluate(x), 0.0);
    EXPECT_EQ(container.evaluate(KrRealVector{1}), 0.0);
    EXPECT_TRUE(container.gradient(x).empty());
    EXPECT_TRUE(container.gradient(KrRealVector{1}).empty());
    Linear linear;
    linear.setCoefficient(1, -4.0);
    container.setTopElement(linear);
    EXPECT_EQ(container.evaluate(x), -8.0);
    EXPECT_EQ(container.evaluate(KrRealVector{1, 3}), -12.0);
    EXPECT_EQ(container.gradient(x), KrRealVector({0, -1}));
    EXPECT_EQ(container.gradient(KrRealVector{1}), KrRealVector({0}));
}

}  // namespace
