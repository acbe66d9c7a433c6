// Scalar functions and unitary maps, and their containers.

#include "foundation/xml/KrXml.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/scalar/KrCallableScalarFunction.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/scalar/KrMultipointScalarFunction.h"
#include "function/scalar/KrPowerUnitaryMap.h"
#include "function/scalar/KrSCurveUnitaryMap.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(ScalarFunctions, ContainersEvaluateTheirFunction) {
    KrScalarFunctionContainer functions;
    EXPECT_EQ(functions.evaluate(2.5), 2.5);
    KrLinearScalarFunction linear;
    linear.setStartValue(3.0);
    linear.setEndValue(-0.7);
    functions.setTopElement(linear);
    EXPECT_EQ(functions.topElement()->container(), nullptr);
    EXPECT_EQ(functions.evaluate(0.3), (1.0 - 0.3) * 3.0 + 0.3 * -0.7);

    KrUnitaryMapContainer maps;
    EXPECT_EQ(maps.evaluate(2.5), 2.5);
    KrPowerUnitaryMap power;
    power.setExponent(2.0);
    maps.setTopElement(power);
    EXPECT_EQ(maps.evaluate(0.5), 0.25);
}

TEST(ScalarFunctions, MultipointFunctionTakesTheSegmentThatEndsAtX) {
    struct {
        KrRealVector domain, range;
        double x, value;
    } const cases[] = {// Among them jumps, lists of two lengths, and unsorted and descending ones.
                       {{0, 1, 2}, {0, 10, 0}, 0.5, 5},
                       {{0, 1, 2}, {0, 10, 0}, 1, 10},
                       {{0, 1, 2}, {0, 10, 0}, 2, 0},
                       {{0, 1, 2}, {0, 10, 0}, -1, -10},
                       {{0, 1, 2}, {0, 10, 0}, 3, -10},
                       {{0, 1, 2}, {0, 10, 0}, nan, nan},
                       {{}, {7, 8}, 3, 7},
                       {{}, {}, 3, 0},
                       {{1, 2}, {}, 3, 0},
                       {{5}, {7, 8}, 9, 7},
                       {{0, 0}, {1, 2}, -1, 2},
                       {{0, 0}, {1, 2}, 1, 2},
                       {{0, 0, 1}, {1, 2, 4}, 0.5, 3},
                       {{0, 1, 1}, {1, 2, 4}, 2, 4},
                       {{0, 1, 1}, {1, 2, 4}, 1, 2},
                       {{0, 1, 2, 3}, {5, 6}, 4, 9},
                       {{0, 3, 1, 4}, {0, 3, 5, 8}, 2, 2},
                       {{2, 1, 0}, {0, 1, 2}, 5, -3},
                       {{0, nan, 2}, {0, 1, 2}, 1, nan},
                       {{nan, 1, 2}, {1, 2, 3}, 1.5, nan},
                       {{0, 0, 1}, {1, 2, 4}, nan, 2},
                       {{-INFINITY, INFINITY}, {1, 2}, INFINITY, nan}};
    for (auto const& row : cases) {
        KrMultipointScalarFunction function;
        function.setDomainValues(KrXmlRealVector::fromValues(row.domain));
        function.setRangeValues(KrXmlRealVector::fromValues(row.range));
        double const value = function.evaluate(row.x);
        EXPECT_TRUE(value == row.value || (std::isnan(value) && std::isnan(row.value)))
            << &row - cases << ": " << value;
    }
}

// Counts how often a container is to tell its element.
struct Telling : KrScalarFunctionContainer {
    static inline int count = 0;
    void setTopElementContainerToThis() override { ++count; }
};

TEST(ScalarFunctions, AContainerTellsTheElementThatItIsAssigned) {
    Telling target;
    Telling const empty;
    Telling full;
    full.setTopElement(KrLinearScalarFunction());
    Telling::count = 0;
    target = empty;
    target = Telling();
    EXPECT_EQ(Telling::count, 0);
    target = full;
    target = std::move(full);
    EXPECT_EQ(Telling::count, 2);
}

TEST(ScalarFunctions, ACallableIsAFunctionWithoutADocument) {
    KrCallableScalarFunction const square([](double x) { return x * x; });
    EXPECT_EQ(square.evaluate(3.0), 9.0);
    EXPECT_EQ(KrCallableScalarFunction(nullptr).evaluate(3.0), 3.0);
    EXPECT_TRUE(KrCallableScalarFunction().equality(
        std::unique_ptr<KrXmlObject>(square.newObject()).get()));

    KrScalarFunctionContainer container;
    container.setTopElement(square);
    EXPECT_EQ(container.evaluate(3.0), 9.0);
    EXPECT_TRUE(square.equality(container.topElement()));
    EXPECT_FALSE(square == KrCallableScalarFunction([](double x) { return x * x; }));

    CapturedMessages messages;
    EXPECT_EQ(KrXml::toString(container), "");
    KrCallableScalarFunction target = square;
    EXPECT_FALSE(KrXml::fromString("<callableScalarFunction/>", target));
    EXPECT_EQ(target, square);
    EXPECT_EQ(messages.text(),
              "cannot be written: a function made of a callable has no form in a document\n"
              "<string>:1:1: callableScalarFunction: expected an element that documents can hold, "
              "found a function made of a callable\n");
}

TEST(UnitaryMaps, PowerIsThatOfTheLibrary) {
    KrPowerUnitaryMap map;
    EXPECT_EQ(map.evaluate(-0.3), -0.3);
    map.setExponent(0.7);
    EXPECT_EQ(map.evaluate(0.3), std::pow(0.3, 0.7));
}

TEST(UnitaryMaps, SCurvePassesItsPointsWithItsLimitedSlopes) {
    KrSCurveUnitaryMap known;
    known.setCenter(0.5);
    EXPECT_EQ(known.evaluate(-1.0), 0.5 / 1.75);  // not clamped

    auto const mapOf = [](double center, double initial, double final, double slope) {
        KrSCurveUnitaryMap map;
        map.setCenter(center);
        map.setInitialSlope(initial);
        map.setFinalSlope(final);
        map.setCenterSlope(slope);
        return map;
    };
    // Worked out apart from the library; another order of the factors has other bits.
    EXPECT_EQ(mapOf(0.78, 0.23, 0.59, 9.49).evaluate(0.62), 0x1.73a745a3f311cp-3);
    EXPECT_EQ(mapOf(0.78, 0.23, 0.59, 9.49).evaluate(0.85), 0x1.a7a1e589d2fd9p-1);
    EXPECT_EQ(mapOf(0.76, 0.49, 0.53, 8.82).evaluate(0.61), 0x1.3a2b52bf38929p-2);
    EXPECT_EQ(mapOf(0.76, 0.49, 0.53, 8.82).evaluate(0.83), 0x1.a156015033d9ap-1);
    struct {
        double center, initial, final, slope;
        bool limited;
    } const cases[] = {
        {0.5, 0, 0, 4, false},    {0.1, 0.3, 0.4, 20, false}, {0.62, 0.3, 0, 4, false},
        {0.9, 0.3, 2, 30, false}, {0.5, 2, 0, 4, true},       {0.1, 40, 40, 0, true},
        {0.62, 0, 40, 30, true},  {0.9, 0, 0, 0, true},
    };
    for (auto const& [c, s0, s1, sc, isLimited] : cases) {
        SCOPED_TRACE(c);
        double const used0 = std::min(s0, 0.5 / c - 1e-7);
        double const used1 = std::min(s1, 0.5 / (1 - c) - 1e-7);
        double const usedC = std::max(sc, std::max(1 / c - used0, 1 / (1 - c) - used1) + 1e-7);
        // The curve is that of the limited slopes, which the parameters are not.
        KrSCurveUnitaryMap const map = mapOf(c, s0, s1, sc);
        KrSCurveUnitaryMap const limited = mapOf(c, used0, used1, usedC);
        EXPECT_EQ(map == limited, !isLimited);
        EXPECT_EQ(map.evaluate(0.0), 0.0);
        EXPECT_EQ(map.evaluate(1.0), 1.0);
        EXPECT_NEAR(map.evaluate(c), 0.5, 1e-7);
        EXPECT_NEAR(map.evaluate(std::nextafter(c, 0.0)), 0.5, 1e-7);
        for (double x = 0.0; x < 1.0; x += 0.01) {
            EXPECT_LE(map.evaluate(x), map.evaluate(x + 0.01));
            EXPECT_EQ(map.evaluate(x), limited.evaluate(x));
        }
        auto const slope = [&](double from, double to) {
            return (map.evaluate(to) - map.evaluate(from)) / (to - from);
        };
        if (double const h = 1e-7; !isLimited) {
            EXPECT_NEAR(slope(0, h), s0, 1e-4);
            EXPECT_NEAR(slope(1 - h, 1), s1, 1e-4);
            EXPECT_NEAR(slope(c, c + h), sc, 1e-4 * sc);
            EXPECT_NEAR(slope(c - 2 * h, c - h), sc, 1e-4 * sc);
        }
    }
}

TEST(UnitaryMaps, SCurveReportsACentreOutOfRangeAndIsTheIdentity) {
    for (double const center : {0.0, 1.0, -0.5, 1.5, nan}) {
        CapturedMessages const captured;
        KrSCurveUnitaryMap map;
        map.setCenter(center);
        map.setInitialSlope(0.1);
        map.setFinalSlope(0.1);
        map.setCenterSlope(3.0);
        ASSERT_EQ(captured.messages.size(), 4U);  // each computation reports
        std::string const printed = center >= 1.0 ? "1" : "0";
        EXPECT_EQ(captured.messages[1].text,
                  "KrSCurveUnitaryMap::calculateCoefficients(): center (" + printed +
                      ") out of range.\n");
        EXPECT_EQ(static_cast<int>(captured.messages[1].type), 4);
        for (double x = 0.0; x <= 1.0; x += 0.125) {
            EXPECT_NEAR(map.evaluate(x), x, 1e-15);
        }
    }
    // A sink that throws finds the map as it is then.
    KrSCurveUnitaryMap map;
    map.setCenter(0.25);
    Kr::Print::Sink const before = Kr::Print::instance().setSink([](auto const&) { throw 1; });
    EXPECT_THROW(map.setCenter(2.0), int);
    Kr::Print::instance().setSink(before);
    EXPECT_NEAR(map.evaluate(0.25), 0.25, 1e-15);
    // Reading computes whatever came of it.
    CapturedMessages const captured;
    EXPECT_FALSE(reads(map, "<center>2</center><center>3</center>"));
    ASSERT_EQ(captured.messages.size(), 2U);
    EXPECT_EQ(captured.messages[1].text,
              "KrSCurveUnitaryMap::calculateCoefficients(): center (2) out of range.\n");
}

TEST(UnitaryMaps, SCurveHasNoCoefficientsBeforeItIsSetOrRead) {
    KrSCurveUnitaryMap map;
    map.xmlInit();
    EXPECT_EQ(map.evaluate(0.3), 0.0);
    EXPECT_EQ(map.evaluate(0.5), 1.0);
    EXPECT_TRUE(std::isnan(map.evaluate(0.0)));
    EXPECT_TRUE(std::isnan(map.evaluate(1.0)));
    KrSCurveUnitaryMap set;
    set.setCenter(0.5);
    EXPECT_TRUE(set == map);  // the parameters are compared alone
    KrSCurveUnitaryMap const copy(set);
    map = set;
    EXPECT_EQ(copy.evaluate(0.25), 0.0625);  // and the coefficients copied too
    EXPECT_EQ(map.evaluate(0.25), 0.0625);
}

}  // namespace
