// Frozen tables and composites: the bits of a fresh live object, and gradients.

#include "function/composite/KrCompositeFunctionBranch.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrFrozenComposite.h"
#include "function/composite/KrFrozenTable.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "support/PlainInterpolator.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <thread>

namespace {

using Enums = KrVectorSearchEnums;
using Search = KrVectorSearch<double>;
using Interpolator = KrInterpolator<double>;
using Table = KrTableFunctionInterpolator;
using Branch = KrCompositeFunctionBranch;
using Container = KrCompositeFunctionContainer;
using Reals = std::vector<double>;

constexpr double inf = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

struct Random {
    unsigned below(std::size_t count) { return static_cast<unsigned>(engine() % count); }
    double real(double low, double high) {
        return std::uniform_real_distribution(low, high)(engine);
    }
    std::mt19937 engine{30};
};

enum Spacing { Even, Uneven, Geometric, InGroups };

Reals ascending(Random& random, Spacing spacing, std::size_t size) {
    Reals v(size, -1.0);
    for (std::size_t i = 1; i < size; ++i) {
        double const place = static_cast<double>(i) / static_cast<double>(size);
        v[i] = spacing == Even        ? v[0] + 0.25 * static_cast<double>(i)
               : spacing == Uneven    ? v[i - 1] + 0.1 + random.real(0.0, 1.0)
               : spacing == Geometric ? std::exp(20.0 * place)
                                      : v[i - 1] + (i % 20 == 0 ? 5.0 : 1e-3);
    }
    return v;
}

// Coordinates in and around a table: breakpoints, their neighbours, ends, no numbers.
double coordinate(Random& random, Reals const& v) {
    double const breakpoint = v.empty() ? 0.0 : v[random.below(v.size())];
    switch (random.below(12)) {
        case 0: return breakpoint;
        case 1: return std::nextafter(breakpoint, random.below(2) ? inf : -inf);
        case 2: return random.below(4) ? breakpoint : random.below(2) ? inf : -inf;
        case 3: return random.below(4) ? 0.0 : nan;
        default: break;
    }
    double const other = v.empty() ? 1.0 : v[random.below(v.size())];
    return breakpoint + random.real(-0.2, 1.2) * (other - breakpoint);
}

// Long tables are searched by cells, by a coarse list, or by halves: all find one segment.
TEST(VectorSearch, FindsTheSegmentsOfLongTables) {
    Random random;
    for (std::size_t const size : {15U, 16U, 17U, 40U, 1000U, 8191U, 8192U, 20'001U, 40'000U}) {
        for (Spacing const spacing : {Even, Uneven, Geometric, InGroups}) {
            for (bool const descends : {false, true}) {
                Reals v = ascending(random, spacing, size);
                if (descends) {
                    std::ranges::reverse(v);
                }
                PlainSearch plain{v, true, true, PlainSearch::Bisection};
                Search search;
                search.init(v, Search::EXTRAPOLATE, Search::EXTRAPOLATE, Search::BISECTION);
                for (int query = 0; query < 200; ++query) {
                    double const x = coordinate(random, v);
                    plain.lookUp(x);
                    search.lookUp(x);
                    KrU32 index = 0;
                    KrU32 upper = 0;
                    search.getIndex(index, upper);
                    ASSERT_EQ(index, plain.index) << size << ' ' << spacing << " at " << x;
                }
            }
        }
    }
}

// A random grid with everything that a file can hold.
struct Grid {
    Grid(Random& random, std::size_t dimensions, bool isRegular) {
        std::size_t points = 1;
        for (std::size_t d = 0; d < dimensions; ++d) {
            std::size_t const most = dimensions == 1 ? 100 : dimensions == 2 ? 30 : 6;
            std::size_t size = 2 + random.below(most);
            if (!isRegular && random.below(6) == 0) {
                size = random.below(8) != 0;
            }
            auto const option = static_cast<Enums::SEARCH_OPTION>(random.below(3));
            bool const isEven = option == Enums::EQUAL_SPACED && (isRegular || random.below(3));
            Reals v =
                ascending(random, isEven ? Even : static_cast<Spacing>(random.below(4)), size);
            switch (isRegular ? random.below(2) : random.below(8)) {
                case 0: std::ranges::reverse(v); break;
                case 2: std::ranges::shuffle(v, random.engine); break;
                case 3:
                    if (size > 0) {
                        v[random.below(size)] = random.below(2) ? nan : inf;
                    }
                    break;
                case 4: std::ranges::fill(v, 1.0); break;
                default: break;
            }
            auto const boundary = [&] {
                return random.below(2) ? Enums::LIMIT : Enums::EXTRAPOLATE;
            };
            searches.emplace_back();
            searches.back().init(v, boundary(), boundary(), option);
            live.addDimension(searches.back());
            axes.push_back(v);
            points *= size;
        }
        for (unsigned t = random.below(7) + isRegular; t > 0; --t) {
            Reals table(points);
            std::ranges::generate(table, [&] { return random.real(-10.0, 10.0); });
            if (!isRegular && random.below(6) == 0) {
                table.resize(random.below(points + 2), 1.0);  // too short, or too long
            } else if (!isRegular && random.below(6) == 0 && points > 0) {
                table[random.below(points)] = inf;
            }
            live.addInterpolator(table);
        }
    }

    Reals point(Random& random) const {
        Reals x;
        for (Reals const& v : axes) {
            x.push_back(coordinate(random, v));
        }
        return x;
    }

    std::vector<Reals> axes;
    std::vector<Search> searches;  // without a look-up
    Interpolator live;
};

Reals part(Reals const& values, std::size_t first, std::size_t count) {
    return Reals(values.data() + first, values.data() + first + count);
}

Reals firstValues(Interpolator const& live, Reals const& x) {
    return Interpolator(live).evaluate(x);  // the copy has not looked up anything
}

TEST(FrozenTable, HasTheBitsOfAFirstLookUp) {
    Random random;
    for (std::size_t run = 0; run < 600; ++run) {
        Grid const grid(random, run % 7, run % 3 == 0);
        KrFrozenTable const frozen(grid.live);
        std::size_t const n = frozen.domainDim();
        std::size_t const m = frozen.valueCount();
        ASSERT_TRUE(frozen);
        ASSERT_EQ(n, grid.axes.size());
        std::size_t const count = std::size_t{1} + random.below(run % 50 ? 60 : 1500);
        Reals points;
        Reals expected;
        for (std::size_t p = 0; p < count; ++p) {
            Reals const x = grid.point(random);
            Reals const values = firstValues(grid.live, x);
            points.insert(points.end(), x.begin(), x.end());
            expected.insert(expected.end(), values.begin(), values.end());
        }
        SCOPED_TRACE(testing::Message() << "run " << run);
        Reals values(n + m > 0 ? count * m : 0);
        Reals sameValues(values.size());
        Reals gradients(values.size() * n);
        std::size_t const allocated = allocationCount();
        ASSERT_TRUE(frozen.evaluateMany(points, values));
        ASSERT_TRUE(frozen.evaluateManyWithGradient(points, sameValues, gradients));
        ASSERT_EQ(allocationCount(), allocated);
        ASSERT_EQ(bits(values), bits(expected));
        ASSERT_EQ(bits(sameValues), bits(expected));
        for (std::size_t p = 0; p < std::min<std::size_t>(count, 60); ++p) {
            std::span const x = std::span(points).subspan(p * n, n);
            Reals y(m);
            Reals z(m);
            Reals dy(m * n);
            std::size_t const before = allocationCount();
            ASSERT_TRUE(frozen.evaluate(x, y));
            ASSERT_TRUE(frozen.evaluateWithGradient(x, z, dy));
            ASSERT_EQ(allocationCount(), before);
            ASSERT_EQ(bits(y), bits(part(expected, p * m, m)));
            ASSERT_EQ(bits(z), bits(y));
            ASSERT_EQ(bits(dy), bits(part(gradients, p * m * n, m * n)));
            // Short and long points.
            Reals const half = part(points, p * n, n / 2);
            ASSERT_TRUE(frozen.evaluate(half, y));
            ASSERT_EQ(bits(y), bits(firstValues(grid.live, half)));
            Reals more(x.begin(), x.end());
            more.push_back(7.0);
            ASSERT_TRUE(frozen.evaluate(more, y));
            ASSERT_EQ(bits(y), bits(z));
        }
    }
}

// In each cell a value is linear in one coordinate: its slope is the difference of the values at
// both ends of the cell.
TEST(FrozenTable, GradientIsTheDifferenceAcrossTheCell) {
    Random random;
    for (std::size_t run = 0; run < 300; ++run) {
        std::size_t const n = 1 + run % 6;
        Grid const grid(random, n, true);
        KrFrozenTable const frozen(grid.live);
        Reals y(frozen.valueCount());
        Reals dy(y.size() * n);
        for (int query = 0; query < 20; ++query) {
            Reals x = grid.point(random);
            for (double& coordinate : x) {
                coordinate = std::isfinite(coordinate) ? coordinate : 0.1;
            }
            ASSERT_TRUE(frozen.evaluateWithGradient(x, y, dy));
            for (std::size_t d = 0; d < n; ++d) {
                Reals const& v = grid.axes[d];
                Search const search(grid.searches[d]);
                KrU32 cell = 0;
                KrU32 next = 0;
                search.lookUp(x[d]);
                search.getIndex(cell, next);
                double const width = v[next] - v[cell];
                auto const [least, most] = std::minmax(v.front(), v.back());
                KrBoolean below = false;
                KrBoolean above = false;
                search.getLimitOrExtrapolate(below, above);
                bool const isHeld = (x[d] < least && !below) || (x[d] > most && !above);
                Reals low(x);
                Reals high(x);
                low[d] = v[cell];
                high[d] = v[next];
                Reals const a = firstValues(grid.live, low);
                Reals const b = firstValues(grid.live, high);
                for (std::size_t k = 0; k < y.size(); ++k) {
                    double const expected = isHeld ? 0.0 : (b[k] - a[k]) / width;
                    double const scale = (std::abs(a[k]) + std::abs(b[k]) + 10.0) / std::abs(width);
                    ASSERT_NEAR(dy[k * n + d], expected, 1e-11 * scale)
                        << "run " << run << " x[" << d << "] = " << x[d];
                }
            }
        }
    }
}

TEST(FrozenTable, GradientAtEndsAndWithoutNumbers) {
    constexpr auto limit = Enums::LIMIT;
    constexpr auto extrapolate = Enums::EXTRAPOLATE;
    struct {
        Reals axis;
        Reals table;
        Enums::BOUNDARY_OPTION boundary;
        double x;
        double slope;
    } const cases[] = {
        {{0, 1, 3}, {0, 2, 10}, limit, 0, 2},  // a solver on a bound gets the slope inside
        {{0, 1, 3}, {0, 2, 10}, limit, 3, 4},
        {{0, 1, 3}, {0, 2, 10}, limit, -1, 0},
        {{0, 1, 3}, {0, 2, 10}, limit, inf, 0},
        {{0, 1, 3}, {0, 2, 10}, extrapolate, -1, 2},
        {{0, 1, 3}, {0, 2, 10}, extrapolate, 5, 4},
        {{0, 1, 3}, {0, 2, 10}, extrapolate, 1, 4},
        {{3, 1, 0}, {10, 2, 0}, limit, 1, 2},  // the cell that begins there, as stored
        {{3, 1, 0}, {10, 2, 0}, limit, 3, 4},
        {{0, 1, 3}, {0, 2, 10}, limit, nan, nan},
        {{0, 1}, {nan, 2}, limit, -1, nan},
        {{1, 1, 0.5}, {1, 2, 3}, limit, 1, nan},  // no width
        {{1, 1, 0.5}, {1, 2, 3}, limit, 2, 0},
        {{4}, {5}, limit, 1, 0},
    };
    for (auto const& c : cases) {
        Search search;
        search.init(c.axis, c.boundary, c.boundary, Enums::BISECTION);
        Interpolator live;
        live.addDimension(search);
        live.addInterpolator(c.table);
        double y = 0.0;
        double slope = 7.0;
        KrFrozenTable(live).evaluateWithGradient({&c.x, 1}, {&y, 1}, {&slope, 1});
        EXPECT_EQ(bits(slope), bits(c.slope)) << &c - cases << ": " << slope;
    }
}

// A random tree of tables of the same or of unlike dimensions.
std::unique_ptr<KrCompositeFunctionElement> randomTree(Random& random, int depth, bool isUniform) {
    if (depth > 0 && random.below(8) > 0) {
        auto branch = std::make_unique<Branch>();
        if (isUniform || random.below(8) > 0) {
            branch->setLeft(*randomTree(random, depth - 1, isUniform));
        }
        branch->setRight(*randomTree(random, depth - 1, isUniform));
        return branch;
    }
    auto leaf = std::make_unique<Table>();
    std::size_t points = 1;
    for (unsigned d = isUniform ? 2 : random.below(4); d > 0; --d) {
        KrTableFunctionVectorSearch search;
        double const low = random.below(6);
        search.independentVector({low, low + 1, low + 2});
        search.searchOption(Enums::BISECTION);
        search.lowerBoundaryOption(random.below(2) ? Enums::LIMIT : Enums::EXTRAPOLATE);
        search.upperBoundaryOption(random.below(2) ? Enums::LIMIT : Enums::EXTRAPOLATE);
        leaf->independentDataPushBack(search);
        points *= 3;
    }
    for (unsigned t = isUniform ? 1 : random.below(3); t > 0; --t) {
        Reals table(points);
        std::ranges::generate(table, [&] { return random.real(0.0, 1.0); });
        leaf->dependentDataPushBack(table);
    }
    leaf->init();
    return leaf;
}

TEST(FrozenComposite, AnswersAsAFreshLiveTree) {
    Random random;
    for (int run = 0; run < 150; ++run) {
        Container live;
        live.setTopElement(*randomTree(random, run % 7, run % 2));
        KrFrozenComposite const frozen(live);
        ASSERT_TRUE(frozen);
        std::size_t const n = frozen.domainDim();
        std::size_t const m = frozen.valueCount();
        std::size_t const count = n + m == 0 ? 0 : run % 10 ? 40 : 2100;
        Reals points(count * n);
        Reals expected;
        std::vector<KrBoolean> answers;
        auto const evaluateLive = [&](Reals const& x) {
            Reals y;
            KrBoolean ok = false;
            Container(live).evaluate(x, y, ok);
            y = ok ? y : Reals();
            y.resize(m, nan);
            expected.insert(expected.end(), y.begin(), y.end());
            answers.push_back(ok);
        };
        std::ranges::generate(points, [&] {
            return random.below(30) ? 0.5 * random.below(20) - 1 : random.below(2) ? nan : -inf;
        });
        for (std::size_t p = 0; p < count; ++p) {
            evaluateLive(part(points, p * n, n));
        }
        Reals values(count * m);
        Reals gradients(count * m * n);
        auto const answered = std::make_unique<KrBoolean[]>(count);
        std::size_t const allocated = allocationCount();
        ASSERT_TRUE(
            frozen.evaluateManyWithGradient(points, values, gradients, {answered.get(), count}));
        ASSERT_EQ(allocationCount(), allocated);
        ASSERT_EQ(bits(values), bits(expected));
        ASSERT_TRUE(std::equal(answers.begin(), answers.end(), answered.get()));
        for (std::size_t i = 0; i < gradients.size(); ++i) {
            ASSERT_TRUE(!std::isnan(values[i / n]) || std::isnan(gradients[i]));
        }
        // Points of any size.
        for (std::size_t size = 0; size < 5; ++size) {
            Reals x(size);
            std::ranges::generate(x, [&] { return 0.5 * random.below(20); });
            expected.clear();
            evaluateLive(x);
            Reals y(m);
            ASSERT_EQ(frozen.evaluate(x, y), answers.back());
            ASSERT_EQ(bits(y), bits(expected));
        }
    }
}

// All boxes around the gap contain it. If a branch offered a point to a child twice, each level
// would double the work.
TEST(FrozenComposite, OffersAPointToAChildOnce) {
    auto const table = [](double low, double value) {
        KrTableFunctionVectorSearch search;
        search.independentVector({low, low + 1});
        Table result;
        result.independentDataPushBack(search);
        result.dependentDataPushBack({value, value});
        result.init();
        return result;
    };
    Branch tree;
    tree.setLeft(table(0, 5));
    tree.setRight(table(2, 7));
    for (int level = 0; level < 60; ++level) {
        Branch const inner(tree);
        tree.setLeft(inner);
        tree.setRight(table(3, 9));
    }
    Container live;
    live.setTopElement(tree);
    KrFrozenComposite const frozen(live);
    Reals const points{0.5, 1.5, 2.5, 3.5};
    Reals values(4);
    EXPECT_TRUE(frozen.evaluateMany(points, values));
    EXPECT_EQ(bits(values), bits(Reals{5, nan, 7, 9}));
}

KrToken const ownToken("own");
struct OwnTable : KrElement<OwnTable, Table, ownToken> {};
struct OwnInterpolator : Interpolator {};

TEST(FrozenFunction, RefusesWhatItCannotFreeze) {
    Container holdsOwn;
    Branch branch;
    branch.setLeft(Table());
    branch.setRight(OwnTable());
    holdsOwn.setTopElement(branch);
    Search undefined;
    undefined.init({0, 1, 2}, Enums::LIMIT, Enums::LIMIT, static_cast<Enums::SEARCH_OPTION>(7));
    Interpolator strange;
    strange.addDimension(undefined);
    struct {
        std::function<bool()> freeze;
        char const* message;
    } const cases[] = {
        {[&] { return bool(KrFrozenComposite(holdsOwn)); },
         "A table or branch of another class than the library's cannot be frozen: own\n"},
        {[&] { return bool(KrFrozenTable(OwnTable())); },
         "A table or branch of another class than the library's cannot be frozen: own\n"},
        {[&] { return bool(KrFrozenTable(OwnInterpolator())); },
         "An interpolator of a derived class cannot be frozen.\n"},
        {[&] { return bool(KrFrozenTable(strange)); },
         "A table with the search option 7 cannot be frozen.\n"},
        {[&] { return bool(KrFrozenComposite(Container())); }, ""},
        {[&] { return bool(KrFrozenTable()); }, ""},
    };
    for (auto const& c : cases) {
        CapturedMessages const captured;
        EXPECT_FALSE(c.freeze());
        EXPECT_EQ(captured.text(), c.message);
        EXPECT_EQ(captured.messages.size(), *c.message != '\0');
    }
}

TEST(FrozenFunction, RefusesSizesThatDoNotFitAndWritesNothing) {
    Interpolator live;
    Search search;
    search.init({0, 1}, Enums::LIMIT, Enums::LIMIT, Enums::LINEAR);
    live.addDimension(search);
    live.addDimension(search);
    live.addInterpolator({1, 2, 3, 4});
    live.addInterpolator({1, 2, 3, 4});
    KrFrozenTable const two(live);
    KrFrozenTable const none;
    Reals numbers(12, -1.0);
    KrBoolean flags[3] = {true, true, true};
    auto const some = [&](std::size_t size) { return std::span(numbers).first(size); };
    Reals const points(6, 0.5);
    std::span const all(points);
    struct {
        std::function<bool()> evaluate;
        char const* name;
    } const cases[] = {
        {[&] { return two.evaluate(all, some(1)); }, "y, 1"},
        {[&] { return two.evaluateWithGradient(all, some(1), some(4)); }, "y, 1"},
        {[&] { return two.evaluateWithGradient(all, some(2), some(3)); }, "dy, 3"},
        {[&] { return two.evaluateMany(all.first(5), some(4)); }, "points, 5"},
        {[&] { return two.evaluateMany(all, some(5)); }, "values, 5"},
        {[&] { return two.evaluateMany(all, some(8)); }, "values, 8"},
        {[&] { return two.evaluateManyWithGradient(all, some(6), some(11)); }, "gradients, 11"},
        {[&] { return two.evaluateManyWithGradient(all, some(6), some(6)); }, "gradients, 6"},
        {[&] {
             return two.evaluateMany(all, some(6), {flags, 2});
         },
         "answered, 2"},
        {[&] { return none.evaluateMany(all, {}); }, "points, 6"},
    };
    for (auto const& c : cases) {
        CapturedMessages const captured;
        EXPECT_FALSE(c.evaluate()) << c.name;
        EXPECT_EQ(captured.text(), "A frozen function cannot be evaluated: the size of " +
                                       std::string(c.name) + ", does not fit.\n");
        EXPECT_EQ(numbers, Reals(12, -1.0));
    }
    EXPECT_FALSE(none.evaluate(all, some(1)));
    EXPECT_TRUE(none.evaluateMany({}, {}));
    EXPECT_EQ(numbers[0], -1.0);
}

TEST(FrozenFunction, ServesSeveralThreadsAndOutlivesItsSource) {
    KrFrozenTable shared;
    {
        Random random;
        Grid const grid(random, 2, true);
        shared = KrFrozenTable(grid.live);
    }
    Reals const points(2000, 0.3);
    Reals values[2] = {Reals(1000 * shared.valueCount()), Reals(1000 * shared.valueCount())};
    std::thread other([&, copy = shared] { copy.evaluateMany(points, values[1]); });
    shared.evaluateMany(points, values[0]);
    other.join();
    EXPECT_EQ(bits(values[0]), bits(values[1]));
}

}  // namespace
