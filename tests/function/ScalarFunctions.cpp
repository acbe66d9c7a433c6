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

// Counts the calls that give the element its container.
struct Counting : KrScalarFunctionContainer {
    static inline int count = 0;
    void setTopElementContainerToThis() override { ++count; }
};

TEST(ScalarFunctions, AssignmentGivesTheElementItsContainer) {
    Counting target;
    Counting const empty;
    Counting full;
    full.setTopElement(KrLinearScalarFunction());
    Counting::count = 0;
    target = empty;
    target = Counting();
    EXPECT_EQ(Counting::count, 0);
    target = full;
    target = std::move(full);
    EXPECT_EQ(Counting::count, 2);
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
    // Computed without the library. Another order of the factors has other bits.
    EXPECT_EQ(mapOf(0.78, 0.23, 0.59, 9.49).evaluate(0.62), 0x1.73a745a3f311cp-3);
    EXPECT_EQ(mapOf(0.78, 0.23, 0.59, 9.49).evaluate(0.85), 0x1.a7a1e589d2fd9p-1);
    EXPECT_EQ(mapOf(0.76, 0.49, 0.53, 8.82).evaluate(0.61), 0x1.3a2b52bf38929p-2);
    EXPECT_EQ(mapOf(0.76, 0.49, 0.53, 8.82).evaluate(0.83), 0x1.a156015033d9ap-1);
    for (double const center : {0.1, 0.5, 0.62, 0.9}) {
        SCOPED_TRACE(center);
        KrSCurveUnitaryMap const map = mapOf(center, 0.3, 0.4, 30.0);
        auto const slope = [&](double from, double to) {
            return (map.evaluate(to) - map.evaluate(from)) / (to - from);
        };
        double const h = 1e-7;
        EXPECT_EQ(map.evaluate(0.0), 0.0);
        EXPECT_EQ(map.evaluate(1.0), 1.0);
        EXPECT_NEAR(map.evaluate(center), 0.5, 1e-7);
        EXPECT_NEAR(slope(0, h), 0.3, 1e-4);
        EXPECT_NEAR(slope(1 - h, 1), 0.4, 1e-4);
        EXPECT_NEAR(slope(center, center + h), 30.0, 3e-3);
        EXPECT_NEAR(slope(center - 2 * h, center - h), 30.0, 3e-3);
        // Slopes that no increasing curve has are limited, and the parameters stay.
        KrSCurveUnitaryMap const beyond = mapOf(center, 40.0, 40.0, 0.0);
        double const initial = 0.5 / center - 1e-7;
        double const final = 0.5 / (1 - center) - 1e-7;
        double const least = std::max(1 / center - initial, 1 / (1 - center) - final) + 1e-7;
        KrSCurveUnitaryMap const limited = mapOf(center, initial, final, least);
        EXPECT_FALSE(beyond == limited);
        for (double x = 0.0; x < 1.0; x += 0.01) {
            EXPECT_LE(beyond.evaluate(x), beyond.evaluate(x + 0.01));
            EXPECT_EQ(beyond.evaluate(x), limited.evaluate(x));
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
        std::string const message = "KrSCurveUnitaryMap::calculateCoefficients(): center (" +
                                    std::string(center >= 1.0 ? "1" : "0") + ") out of range.\n";
        EXPECT_EQ(captured.text(), message + message + message + message);
        for (double x = 0.0; x <= 1.0; x += 0.125) {
            EXPECT_NEAR(map.evaluate(x), x, 1e-15);
        }
    }
    // If the sink throws, the map keeps its new coefficients.
    KrSCurveUnitaryMap map;
    map.setCenter(0.25);
    Kr::Print::Sink const before = Kr::Print::instance().setSink([](auto const&) { throw 1; });
    EXPECT_THROW(map.setCenter(2.0), int);
    Kr::Print::instance().setSink(before);
    EXPECT_NEAR(map.evaluate(0.25), 0.25, 1e-15);
    // Reading computes the coefficients even if it fails.
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
    EXPECT_TRUE(set == map);  // equality compares the parameters alone
    KrSCurveUnitaryMap const copy(set);
    map = set;
    EXPECT_EQ(copy.evaluate(0.25), 0.0625);  // a copy has the coefficients
    EXPECT_EQ(map.evaluate(0.25), 0.0625);
}

}  // namespace
