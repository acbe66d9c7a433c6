// Vector search and interpolator: the bits of their plain form, and any table.

#include "foundation/xml/KrXmlBasicType.h"
#include "function/composite/KrInterpolator.h"
#include "support/PlainInterpolator.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

namespace {

using Search = KrVectorSearch<double>;
using Interpolator = KrInterpolator<double>;
using Reals = std::vector<double>;

constexpr auto limit = Search::LIMIT;
constexpr auto extrapolate = Search::EXTRAPOLATE;
constexpr double inf = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

Search searchOf(Reals const& breakpoints, Search::SEARCH_OPTION option,
                Search::BOUNDARY_OPTION lower = limit, Search::BOUNDARY_OPTION upper = limit) {
    Search search;
    search.init(breakpoints, lower, upper, option);
    return search;
}

struct Outcome {
    KrU32 index, upperIndex;
    double lowerWeight, upperWeight;
};

Outcome lookUp(Search const& search, double x) {
    Outcome o{};
    search.lookUp(x);
    search.getIndex(o.index, o.upperIndex);
    search.getWeight(o.lowerWeight, o.upperWeight);
    return o;
}

// Tables that a file can hold although they make no sense.
TEST(VectorSearch, AnswersForAnyTable) {
    Reals const up{0, 1, 2, 3};
    struct {
        Reals table;
        Search::SEARCH_OPTION option;
        Search::BOUNDARY_OPTION boundary;
        double x;
        KrU32 index;
        double lowerWeight, upperWeight;
    } const cases[] = {
        {{7}, Search::LINEAR, extrapolate, 9, 0, 1, 0},
        {{}, Search::BISECTION, limit, 1, 0, nan, nan},
        {{0, 1, 100, 101}, Search::EQUAL_SPACED, limit, 50.5, 2, 50.5, -49.5},  // held inside
        {{1, 1, 0.5}, Search::EQUAL_SPACED, limit, 0.75, 0, inf, -inf},         // no spacing
        {{0, 1e-300, 1e300}, Search::EQUAL_SPACED, limit, 1e200, 0, -inf, inf},
        {{0, 8, 1, 9, 9, 9, 9, 10}, Search::BISECTION, limit, 4, 0, 0.5, 0.5},  // not in order
        {up, Search::LINEAR, extrapolate, nan, 2, nan, nan},
        {up, Search::EQUAL_SPACED, extrapolate, nan, 0, nan, nan},
    };
    for (auto const& c : cases) {
        Search const search = searchOf(c.table, c.option, c.boundary, c.boundary);
        Outcome const o = lookUp(search, c.x);
        SCOPED_TRACE(testing::Message() << &c - cases << " at " << c.x);
        EXPECT_EQ(search.size(), c.table.size());
        EXPECT_EQ(o.index, c.index);
        EXPECT_EQ(o.upperIndex, c.index + (c.table.size() > 1));
        EXPECT_EQ(bits(o.lowerWeight), bits(c.lowerWeight)) << o.lowerWeight;
        EXPECT_EQ(bits(o.upperWeight), bits(c.upperWeight)) << o.upperWeight;
    }
}

TEST(VectorSearch, BoundsFlagsAndEquality) {
    double low = 0.0;
    double high = 0.0;
    KrBoolean atLow = false;
    KrBoolean atHigh = false;
    Search const down = searchOf({3, 2, 1, 0}, Search::BISECTION, extrapolate, limit);
    down.getBounds(low, high);
    down.getLimitOrExtrapolate(atLow, atHigh);
    EXPECT_EQ(low, 0);
    EXPECT_EQ(high, 3);
    EXPECT_FALSE(atLow);
    EXPECT_TRUE(atHigh);
    searchOf({}, Search::LINEAR).getBounds(low, high);
    EXPECT_TRUE(low == INFINITY && high == -INFINITY);

    std::unique_ptr<Search> const clone(down.clone());
    lookUp(*clone, 1.5);
    EXPECT_TRUE(*clone == down);
    EXPECT_TRUE(Search::nullObject() == searchOf({}, Search::LINEAR));
    for (Search const& other :
         {searchOf({3, 2, 1}, Search::BISECTION, extrapolate, limit),
          searchOf({3, 2, 1, 0.5}, Search::BISECTION, extrapolate, limit),
          searchOf({3, 2, 1, 0}, Search::LINEAR, extrapolate, limit),
          searchOf({3, 2, 1, 0}, Search::BISECTION, limit, limit),
          searchOf({3, 2, 1, 0}, Search::BISECTION, extrapolate, extrapolate)}) {
        EXPECT_FALSE(other == down);
    }
    Search const infinite = searchOf({inf, inf}, Search::LINEAR);
    EXPECT_FALSE(infinite == infinite);  // its spacing is NaN
}

TEST(VectorSearch, UndefinedOptionIsReportedAndKeepsTheSegment) {
    auto const undefined = static_cast<Search::SEARCH_OPTION>(7);
    Search const search = searchOf({0, 1, 2, 3}, undefined, extrapolate, extrapolate);
    CapturedMessages const captured;
    EXPECT_EQ(lookUp(search, 1.5).upperWeight, 0.0);  // nothing was found yet
    lookUp(search, 3);
    EXPECT_EQ(lookUp(search, 0.5).upperWeight, -1.5);  // from segment 2
    ASSERT_EQ(captured.messages.size(), 2u);
    EXPECT_EQ(captured.messages[1].text, "KrVectorSearch Error -- Search option not defined:  7");
    EXPECT_EQ(static_cast<int>(captured.messages[1].type), 4);
    for (int i = 0; i < 3; ++i) {
        lookUp(search, 2.5);
    }
    EXPECT_EQ(captured.messages.size(), 5u);  // each is reported
}

// A random grid, in the library's form and in the plain one.
struct Grid {
    enum Order { Ascending, Descending, Shuffled, WithNaN };

    Grid(std::mt19937& random, std::size_t dimensions, std::size_t tableCount) {
        auto const pick = [&](unsigned count) { return static_cast<unsigned>(random() % count); };
        std::size_t points = 1;
        for (std::size_t d = 0; d < dimensions; ++d) {
            auto const order = static_cast<Order>(pick(8) < 5 ? pick(2) : pick(4));
            auto const option = static_cast<Search::SEARCH_OPTION>(pick(3));
            bool const evenly = option == Search::EQUAL_SPACED && pick(4) != 0;
            double const scale = pick(2) ? 0.25 : 3.0;
            Reals v(2 + pick(dimensions > 4 ? 3 : 9));
            v[0] = -static_cast<double>(pick(3));
            for (std::size_t i = 1; i < v.size(); ++i) {
                v[i] = evenly ? v[0] + static_cast<double>(i) * scale
                              : v[i - 1] + scale * (0.1 + 0.1 * pick(10));
            }
            if (order == Descending) {
                std::ranges::reverse(v);
            } else if (order == Shuffled) {
                std::ranges::shuffle(v, random);
            } else if (order == WithNaN) {
                v[pick(static_cast<unsigned>(v.size()))] = nan;
            }
            bool const lower = pick(2);
            bool const upper = pick(2);
            fast.addDimension(
                searchOf(v, option, lower ? extrapolate : limit, upper ? extrapolate : limit));
            searches.push_back({v, lower, upper, static_cast<PlainSearch::Option>(option)});
            points *= v.size();
            auto const [low, high] = std::ranges::minmax(v);
            range.emplace_back(low - 1.0, high + 1.0);
        }
        for (std::size_t j = 0; j < tableCount; ++j) {
            Reals& table = tables.emplace_back(points);
            for (double& value : table) {
                value = std::uniform_real_distribution(-10.0, 10.0)(random);
            }
            fast.addInterpolator(table);
        }
    }

    Reals randomPoint(std::mt19937& random) const {
        Reals point;
        for (auto const& [low, high] : range) {
            double const x = std::uniform_real_distribution(0.0, 1.0)(random);
            point.push_back(low + x * (high - low));
        }
        return point;
    }

    Interpolator fast;
    std::vector<PlainSearch> searches;
    std::vector<Reals> tables;
    std::vector<std::pair<double, double>> range;
};

TEST(Interpolator, GivesTheBitsOfThePlainFormAndAllocatesNothing) {
    std::mt19937 random(20);
    for (int run = 0; run < 400; ++run) {
        std::size_t const dimensions = 1 + static_cast<std::size_t>(run) % 8;
        Grid const grid(random, dimensions, 1 + random() % 6);
        PlainInterpolator plain{grid.searches, grid.tables};
        Reals point = grid.randomPoint(random);
        for (int query = 0; query < 60; ++query) {
            // A walk with jumps, exact breakpoints, infinity and NaN.
            std::size_t const d = random() % dimensions;
            Reals const& v = grid.searches[d].v;
            switch (random() % 8) {
                case 0: point = grid.randomPoint(random); break;
                case 1: point[d] = v[random() % v.size()]; break;
                case 3:
                    point[d] = std::nextafter(v[random() % v.size()], query % 2 ? inf : -inf);
                    break;
                case 2: point[d] = query % 4 ? 0.0 : (query % 3 ? nan : -inf); break;
                default: point[d] += 0.01 * (static_cast<double>(random() % 21) - 10.0); break;
            }
            SCOPED_TRACE(testing::Message() << "run " << run << " query " << query);
            Reals const& expected = plain.evaluate(point);
            std::size_t const allocated = allocationCount();
            Reals const& actual = grid.fast.evaluate(point);
            ASSERT_TRUE(query == 0 || allocationCount() == allocated);
            ASSERT_EQ(bits(actual), bits(expected));
            ASSERT_EQ(bits(grid.fast.evaluate()), bits(expected));
        }
    }
}

TEST(Interpolator, SumsItsCornersInOrder) {
    Interpolator f;
    f.init({{10, 20, 40}, {1, 2, 3}}, {searchOf({0, 1, 2}, Search::BISECTION, limit, extrapolate)});
    EXPECT_EQ(f.evaluate(1.5), (Reals{30, 2.5}));
    EXPECT_EQ(f.evaluate(3.0), (Reals{60, 4}));
    EXPECT_EQ(f.evaluate(Reals{-1, 5}), (Reals{10, 1}));
    EXPECT_EQ(f.initBounds(), (Interpolator::Bounds{{0, 2}}));
    EXPECT_EQ(f.initLimitOrExtrapolate(), (Interpolator::Flags{{false, true}}));
    f.init();
    EXPECT_TRUE(f.evaluate().empty());
    EXPECT_EQ(f.bounds(), (Interpolator::Bounds{{0, 2}}));  // stay
    f.addInterpolator({1, 2, 4, 8});
    EXPECT_EQ(f.evaluate(), (Reals{1}));
    f.addDimension(searchOf({0, 1}, Search::LINEAR));
    f.addDimension(searchOf({0, 1}, Search::LINEAR));
    EXPECT_EQ(f.evaluate(0.25, 0.5)[0], 0.375 * 1 + 0.125 * 2 + 0.375 * 4 + 0.125 * 8);
}

// A call with other types than double, or in braces, converts its arguments.
TEST(Interpolator, TakesAPointHoweverItIsWritten) {
    Interpolator f;
    f.addInterpolator({0, 1, 10, 11, 20, 21});
    f.addDimension(searchOf({0, 1}, Search::LINEAR));
    f.addDimension(searchOf({0, 1, 2}, Search::BISECTION));
    KrXmlBasicType<double> const half(0.5);
    EXPECT_EQ(f.evaluate({0.5, 2.0})[0], 20.5);
    std::size_t const allocated = allocationCount();
    EXPECT_EQ(f.evaluate(0.5, 2)[0], 20.5);
    EXPECT_EQ(f.evaluate(0, 2U)[0], 20.0);
    EXPECT_EQ(f.evaluate(0.5F, 2.0)[0], 20.5);
    EXPECT_EQ(f.evaluate(half, 2.0)[0], 20.5);
    EXPECT_TRUE(std::isnan(f.evaluate({0.5})[0]));
    EXPECT_EQ(allocationCount(), allocated);
}

TEST(Interpolator, CopiesAndMovesItsWholeValue) {
    Interpolator f;
    f.init({{10, 20, 40}}, {searchOf({0, 1, 2}, Search::BISECTION)});
    f.initBounds();
    f.evaluate(1.5);
    std::unique_ptr<Interpolator> const clone(f.clone());
    EXPECT_TRUE(*clone == f);
    EXPECT_EQ(clone->evaluate(), (Reals{30}));
    clone->addInterpolator({0, 0, 1});
    EXPECT_FALSE(*clone == f);
    Reals const& result = clone->evaluate(1.5);
    EXPECT_EQ(result, (Reals{30, 0.5}));
    clone->init();
    EXPECT_EQ(result, (Reals{30, 0.5}));  // until the next evaluation
    *clone = f;
    EXPECT_EQ(clone->evaluate(1.5), (Reals{30}));
    Interpolator moved(std::move(*clone));
    EXPECT_TRUE(clone->evaluate(1.5).empty());
    EXPECT_EQ(moved.evaluate(1.5), (Reals{30}));
    EXPECT_EQ(moved.bounds(), f.bounds());
    *clone = std::move(moved);
    EXPECT_EQ(clone->evaluate(), (Reals{30}));
    EXPECT_TRUE(moved.evaluate(1.5).empty());
}

TEST(Interpolator, ReportsTheSizeOfItsFirstTableAlone) {
    CapturedMessages const captured;
    std::vector<Search> const searches{searchOf({0, 1}, Search::LINEAR),
                                       searchOf({0, 1, 2}, Search::LINEAR)};
    Interpolator f;
    f.init({Reals(6), Reals(2)}, searches);
    EXPECT_TRUE(captured.messages.empty());
    f.init({Reals(5), Reals(6)}, searches);
    ASSERT_EQ(captured.messages.size(), 1u);
    EXPECT_EQ(captured.messages[0].text,
              "KrInterpolator Error:\n   Vector size, 5, not compatible with independent variable "
              "sizes, 6\n");
    EXPECT_EQ(static_cast<int>(captured.messages[0].type), 5);
    // It is set up even so: only the cell without its last corner is NaN.
    EXPECT_EQ(f.evaluate(0.5, 0.5), (Reals{0, 0}));
    EXPECT_TRUE(std::isnan(f.evaluate(0.5, 1.5)[0]));
    EXPECT_EQ(f.evaluate()[1], 0);
    f.init({{1, 2}}, std::vector<Search>(8, searchOf(Reals(256), Search::LINEAR)));
    EXPECT_TRUE(captured.messages.back().text.ends_with(
        "size, 2, not compatible with independent variable sizes, 9223372036854775807\n"));
}

TEST(Interpolator, AnswersWhatAFileCanHold) {
    Reals const two{0, 1};
    std::vector<Reals> const forty(40, two);
    // Sizes whose product passes 2^64 and comes round to 0, and to 2.
    std::vector<Reals> wide(8, Reals(256));
    wide.push_back(two);
    struct {
        std::vector<Reals> dimensions;
        Reals table;
        Reals point;
        double value;
    } const cases[] = {
        {forty, {1, 2}, Reals(40, 0.5), nan},
        {wide, {1, 2}, Reals(9, 0.5), nan},
        {std::vector<Reals>(70, two), {1, 2}, Reals(70, 0.5), nan},
        {std::vector<Reals>(40, Reals{3}), {5}, Reals(40, 0.5), 5},
        {{{3}, two, {4}}, {5, 7}, {0, 0.5, 0}, 6},
        {{{}, two}, {5, 7}, {0, 0.5}, nan},
        {{two, two}, {1, 2, 3}, {0, 0}, nan},
        {{two, two}, {1, 2, 3, 4}, {0.5}, nan},
        {{two}, {}, {0.5}, nan},
        {{}, {4}, {}, 4},
        {{}, {}, {1}, nan},
    };
    for (auto const& c : cases) {
        Interpolator f;
        for (Reals const& v : c.dimensions) {
            f.addDimension(searchOf(v, Search::LINEAR));
        }
        f.addInterpolator(c.table);
        f.evaluate(c.point);
        double const value = f.evaluate()[0];
        EXPECT_EQ(bits(value), bits(c.value)) << &c - cases << ": " << value;
    }
    // More than three dimensions take another path. Before the first look-up values are NaN.
    for (std::size_t const n : {2u, 5u}) {
        Interpolator f;
        for (std::size_t d = 0; d < n; ++d) {
            f.addDimension(searchOf(two, Search::LINEAR));
        }
        f.addInterpolator(Reals(std::size_t{1} << n, 3.0));
        f.addInterpolator(Reals((std::size_t{1} << n) - 1, 3.0));
        EXPECT_TRUE(std::isnan(f.evaluate()[0]));
        EXPECT_EQ(f.evaluate(Reals(n, 0.5))[0], 3.0);
        EXPECT_TRUE(std::isnan(f.evaluate()[1]));
    }
}

}  // namespace
