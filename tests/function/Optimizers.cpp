// What holds for every optimizer, and what the recorded searches do not show of
// each.

#include "foundation/math/KrRandom.h"
#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "function/optimizer/internal/KrSearch.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/SmallStack.h"
#include "tests/support/TestFunctions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

using Container = KrScalarMultivariableOptimizerContainer;

KrRealVector const powellStart{3.0, -1.0, 0.0, 1.0};

Container read(std::string const& settings) {
    Container container;
    EXPECT_TRUE(KrXml::fromString(
        "<optimizerContainer xmlns='urn:zeibreku:function#'>" + settings + "</optimizerContainer>",
        container))
        << settings;
    return container;
}

std::string hookeJeeves(std::string const& mode, std::string const& more = "") {
    return "<hookeJeeves><directionsMode>urn:zeibreku:function#" + mode +
           "</directionsMode><defaultEdgeLength>0.5</defaultEdgeLength>" + more + "</hookeJeeves>";
}

std::string sequence(std::string const& parallel, std::string const& optimizers) {
    return "<sequenceOptimizer><numberPasses>2</numberPasses><executeInParallel>" + parallel +
           "</executeInParallel><optimizerSequence>" + optimizers +
           "</optimizerSequence></sequenceOptimizer>";
}

std::string simplex(std::string const& tag, std::string const& more = "") {
    return "<" + tag + "><defaultSimplexEdgeLength>0.5</defaultSimplexEdgeLength>" + more + "</" +
           tag + ">";
}

std::vector<std::string> allSettings() {
    std::string const all = simplex("implicitFiltering") + hookeJeeves("random") +
                            simplex("multidirectionalSearch") + simplex("nelderMead");
    return {simplex("nelderMead"),
            simplex("multidirectionalSearch"),
            simplex("implicitFiltering"),
            hookeJeeves("none"),
            hookeJeeves("axisAligned"),
            hookeJeeves("random"),
            hookeJeeves("rotated"),
            sequence("false", all + sequence("true", all)),
            sequence("true", all + sequence("false", all))};
}

class Negative : public KrScalarMultivariableFunction {
public:
    explicit Negative(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override { return -f_.evaluate(x); }
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    KrScalarMultivariableFunction const& f_;
};

// Does something at one of its evaluations.
class Interrupted : public KrScalarMultivariableFunction {
public:
    Interrupted(KrScalarMultivariableFunction const& f, std::size_t at, std::function<void()> act)
        : f_(f), left_(at), act_(std::move(act)) {}
    double evaluate(KrRealVector const& x) const override {
        if (--left_ == 0) {
            act_();
        }
        return f_.evaluate(x);
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    KrScalarMultivariableFunction const& f_;
    mutable std::size_t left_;
    std::function<void()> act_;
};

struct Search {
    double value;
    KrRealVector point;
    std::vector<Evaluation> evaluations;
};

Search minimise(KrScalarMultivariableOptimizer const& optimizer,
                KrScalarMultivariableFunction const& f, KrRealVector const& start) {
    KrRandom::seed(1);
    RecordingFunction const recording(f);
    Search search;
    search.value = optimizer.findMinimum(recording, start, search.point);
    search.evaluations = recording.evaluations;
    return search;
}

void expectSame(Search const& a, Search const& b) {
    EXPECT_EQ(a.value, b.value);
    EXPECT_EQ(a.point, b.point);
    ASSERT_EQ(a.evaluations.size(), b.evaluations.size());
    for (std::size_t i = 0; i < a.evaluations.size(); ++i) {
        ASSERT_EQ(a.evaluations[i].point, b.evaluations[i].point) << i;
    }
}

TEST(Optimizers, KeepTheirPromises) {
    KrPowellsQuarticFunction const powell;
    TestFunction const valley(5, rosenbrock);
    struct {
        KrScalarMultivariableFunction const& f;
        KrRealVector start;
    } const problems[] = {{powell, powellStart}, {valley, {-1.2, 1.0, -1.2, 1.0, -1.2}}};
    for (auto const& settings : allSettings()) {
        for (auto const& [f, start] : problems) {
            SCOPED_TRACE(settings);
            Container container = read(settings);
            KrScalarMultivariableOptimizer& optimizer = *container.topElement();
            Search const search = minimise(optimizer, f, start);
            EXPECT_EQ(search.value, f.evaluate(search.point));
            EXPECT_LT(search.value, 0.5 * f.evaluate(start));

            // The maximum of -f is the minimum of f.
            KrRandom::seed(1);
            KrRealVector point;
            EXPECT_EQ(optimizer.findMaximum(Negative(f), start, point), -search.value);
            EXPECT_EQ(point, search.point);

            // The start may be the result.
            KrRandom::seed(1);
            point = start;
            EXPECT_EQ(optimizer.findMinimum(f, point, point), search.value);
            EXPECT_EQ(point, search.point);

            Container const clone(container);
            EXPECT_TRUE(clone == container);
            expectSame(minimise(*clone.topElement(), f, start), search);
        }
    }
}

// Neither an exception of the function, at whichever evaluation, nor a search that it
// starts itself has any influence on a search.
TEST(Optimizers, MayBeInterruptedAtAnyEvaluation) {
    KrPowellsQuarticFunction const powell;
    TestFunction const bowl(7, sphere);
    KrRealVector const start(7, 0.5);
    for (auto const& settings : allSettings()) {
        SCOPED_TRACE(settings);
        Container const container = read(settings);
        KrScalarMultivariableOptimizer const& optimizer = *container.topElement();
        Search const search = minimise(optimizer, powell, powellStart);
        Search const inner = minimise(optimizer, bowl, start);
        std::size_t const count = search.evaluations.size();
        for (std::size_t n = 1; n <= count; n += 1 + count / 200) {
            KrRealVector point{7.0};
            Interrupted const throwing(powell, n, [] { throw std::runtime_error("client"); });
            KrRandom::seed(1);
            EXPECT_THROW(optimizer.findMinimum(throwing, powellStart, point), std::runtime_error);
            if (n % 7 == 1) {
                expectSame(minimise(optimizer, powell, powellStart), search);
            }
            Interrupted const nested(powell, n,
                                     [&] { expectSame(minimise(optimizer, bowl, start), inner); });
            Search const outer = minimise(optimizer, nested, powellStart);
            if (settings.find("random") == std::string::npos) {  // both draw from one stream
                expectSame(outer, search);
            }
        }
    }
}

// The most that a search may evaluate: what is not charged, the budget, and what is
// finished all the same.
TEST(Optimizers, KeepTheirBudgets) {
    KrPowellsQuarticFunction const powell;
    constexpr KrU32 n = 4;
    for (KrU32 const budget : {0U, 1U, 2U, 8U, 9U, 30U, 31U, 100U}) {
        std::string const element =
            "<maxFunctionEvaluations>" + std::to_string(budget) + "</maxFunctionEvaluations>";
        struct {
            std::string settings;
            std::size_t least;
            std::size_t most;
        } const cases[] = {
            {hookeJeeves("none", element), std::max(budget, 1U), std::max(budget, 1U) + 1},
            {hookeJeeves("rotated", element), std::max(budget, 1U), std::max(budget, 1U) + 1},
            {simplex("multidirectionalSearch", element), n + 1 + budget,
             n + 1 + (budget + 2 * n - 1) / (2 * n) * (2 * n)},
            {simplex("implicitFiltering", element), 2 * n + 1 + budget,
             2 * n + 1 + (budget ? budget - 1 + 25 + 2 * n + 1 : 0)},
        };
        for (auto const& row : cases) {
            std::size_t const count =
                minimise(*read(row.settings).topElement(), powell, powellStart).evaluations.size();
            EXPECT_GE(count, row.least) << row.settings;
            EXPECT_LE(count, row.most) << row.settings;
        }
    }
}

// Searches whose evaluations can be counted by hand.
TEST(Optimizers, SpendWhatTheirMethodNeeds) {
    std::string const big = "<maxFunctionEvaluations>4294967295</maxFunctionEvaluations>";
    struct {
        std::string settings;
        char const* function;
        std::size_t evaluations;
    } const cases[] = {
        // Eleven explorations of 2n, ten contractions between them.
        {"<hookeJeeves/>", "constant:3", 1 + 22 * 3},
        {"<hookeJeeves/>", "constant:13", 1 + 22 * 13},
        {"<hookeJeeves/>", "constant:14", 300},
        {hookeJeeves("rotated"), "constant:3", 1 + 22 * 3},
        // Without a dimension there is nothing to contract for.
        {hookeJeeves("none", "<reductionFactor>1</reductionFactor>" + big), "constant:0", 1},
        {hookeJeeves("rotated", big), "constant:0", 1},
        // A flat simplex has no spread left; with no threshold the budget ends it.
        {"<multidirectionalSearch/>", "constant:3", 4 + 6},
        {"<multidirectionalSearch><stoppingThreshold>0</stoppingThreshold>"
         "</multidirectionalSearch>",
         "constant:3", 4 + 300},
        {"<multidirectionalSearch>" + big + "</multidirectionalSearch>", "constant:0", 1},
        // Every line search fails, and then none is made.
        {"<implicitFiltering/>", "constant:2", 5 + 10 * (25 + 5)},
        {"<implicitFiltering><lineSearchMaxIterations>0</lineSearchMaxIterations>"
         "</implicitFiltering>",
         "sphere:2", 5 + 60 * 5},
        {"<implicitFiltering/>", "constant:0", 1 + 300},
        {"<sequenceOptimizer/>", "sphere:2", 1},
    };
    for (auto const& row : cases) {
        auto const f = functionByName(row.function);
        Search const search =
            minimise(*read(row.settings).topElement(), *f, KrRealVector(f->domainDim(), 1.0));
        EXPECT_EQ(search.evaluations.size(), row.evaluations) << row.settings << row.function;
    }
}

TEST(Optimizers, HandOverTheirPointsInBatches) {
    KrPowellsQuarticFunction const powell;
    auto const share = [&](std::string const& settings) {
        Search const search = minimise(*read(settings).topElement(), powell, powellStart);
        double batched = 0.0;
        for (Evaluation const& evaluation : search.evaluations) {
            batched += evaluation.inBatch ? 1.0 : 0.0;
        }
        return batched / static_cast<double>(search.evaluations.size());
    };
    EXPECT_EQ(share(hookeJeeves("none")), 0.0);
    EXPECT_EQ(share(simplex("multidirectionalSearch")), 1.0);
    EXPECT_GT(share(simplex("implicitFiltering")), 0.5);
}

// The function may fill the list of values in place, and needs it in its size for that.
TEST(Optimizers, HandOverAListForTheValues) {
    struct InPlace : KrPowellsQuarticFunction {
        void evaluateMultiple(std::vector<KrRealVector> const& points,
                              KrRealVector& values) const override {
            ASSERT_EQ(values.size(), points.size());
            for (std::size_t i = 0; i < points.size(); ++i) {
                values[i] = evaluate(points[i]);
            }
        }
    } const inPlace;
    KrPowellsQuarticFunction const powell;
    for (auto const& settings : allSettings()) {
        SCOPED_TRACE(settings);
        Container const container = read(settings);
        for (int search = 0; search < 2; ++search) {
            KrRandom::seed(1);
            KrRealVector point;
            double const value = container.findMinimum(inPlace, powellStart, point);
            Search const expected = minimise(*container.topElement(), powell, powellStart);
            EXPECT_EQ(value, expected.value);
            EXPECT_EQ(point, expected.point);
        }
    }
}

// A copy has spent what its source has, and has no points of its own.
template <class Optimizer>
void expectCopiesCount() {
    TestFunction const f(2, sphere);
    Optimizer optimizer;
    optimizer.setMaxFunctionEvaluations(20);
    KrRealVector point;
    optimizer.findMinimum(f, {1.0, 1.0}, point);
    Optimizer copy(optimizer);
    for (int i = 0; i < 2; ++i) {
        copy.initialize(1.0, f, {1.0, 1.0}, 1.0);
        bool done = false;
        copy.singleStep(1.0, f, done);
        EXPECT_TRUE(done);
        copy = Optimizer();
        copy.setMaxFunctionEvaluations(20);
        copy.initialize(1.0, f, {1.0, 1.0}, 1.0);
        copy.singleStep(1.0, f, done);
        EXPECT_FALSE(done);
        copy = optimizer;
    }
}

TEST(MultidirectionalSearch, CopiesCountOn) {
    expectCopiesCount<KrMultidirectionalSearchOptimizer>();
}

TEST(Optimizers, AllocateNothingInASearchButTheFirst) {
#ifdef ZEIBREKU_SANITIZED
    GTEST_SKIP() << "allocations are not counted";
#endif
    TestFunction const valley(5, rosenbrock);
    for (std::string const& settings : allSettings()) {
        Container const optimizer = read(settings);
        KrRealVector const start(5, -1.2);
        KrRealVector result;
        std::size_t counts[2];
        for (std::size_t& count : counts) {
            std::size_t const before = allocationCount();
            optimizer.findMinimum(valley, start, result);
            count = allocationCount() - before;
        }
        EXPECT_GT(counts[0], 0U);
        EXPECT_EQ(counts[1], 0U) << settings;
    }
}

TEST(Optimizers, MaySearchOnSeveralThreads) {
    KrPowellsQuarticFunction const powell;
    std::vector<std::string> const settings = allSettings();
    std::vector<Container> optimizers;
    std::vector<KrRealVector> points(settings.size());
    for (std::string const& text : settings) {
        optimizers.push_back(read(text));
    }
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < settings.size(); ++i) {
        threads.emplace_back([&, i] { optimizers[i].findMinimum(powell, powellStart, points[i]); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < settings.size(); ++i) {
        if (settings[i].find("random") == std::string::npos) {
            EXPECT_EQ(points[i], minimise(*optimizers[i].topElement(), powell, powellStart).point);
        }
    }
}

TEST(Optimizers, StandInOneOrderInContainersAndVectors) {
    Container const container;
    KrScalarMultivariableOptimizerVector const vector;
    EXPECT_EQ(vector.creatorMap().size(), 5U);
    EXPECT_EQ(container.creatorMap(), vector.creatorMap());
    for (auto const& [token, creator] : vector.creatorMap()) {
        std::unique_ptr<KrXmlObject> const created(creator());
        EXPECT_EQ(created->token(), token);
    }
    EXPECT_EQ(vector.token(), KrFunction::KrScalarMultivariableOptimizerVectorToken);
}

TEST(Optimizers, DoNothingBeforeASearchWasSetUp) {
    KrPowellsQuarticFunction const powell;
    bool done = false;
    KrMultidirectionalSearchOptimizer const multidirectional;
    EXPECT_EQ(multidirectional.singleStep(1.0, powell, done), 0.0);
    EXPECT_TRUE(done);
    multidirectional.setNewData(KrReArray(4, 4), KrRealVector(4));
    KrImplicitFilteringOptimizer const filtering;
    EXPECT_EQ(filtering.singleStep(1.0, powell, done), 0.0);
    EXPECT_FALSE(done);
    KrHookeJeevesOptimizer rotated;
    rotated.setDirectionsMode(3);
    rotated.newExploratoryMove();
    rotated.transitionalMove();
    rotated.patternContraction();
    rotated.updateDirections();
    rotated.updateDirections();
    EXPECT_FALSE(rotated.explore());
}

TEST(Optimizers, FindTheEarliestExtremes) {
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct {
        KrRealVector values;
        KrU32 lowest;
        KrU32 highest;
    } const cases[] = {
        {{}, 0, 0}, {{1.0}, 0, 0}, {{1.0, 3.0, nan, 0.0, 3.0, 0.0}, 3, 1}, {{nan, 1.0, 2.0}, 0, 0}};
    for (auto const& row : cases) {
        KrU32 lowest = 7;
        KrU32 highest = 7;
        KrSearch::findExtremes(row.values, lowest, highest);
        EXPECT_EQ(lowest, row.lowest);
        EXPECT_EQ(highest, row.highest);
        EXPECT_EQ(KrMultidirectionalSearchOptimizer().findMinIndex(row.values), row.lowest);
        EXPECT_EQ(KrImplicitFilteringOptimizer().findMinIndex(row.values), row.lowest);
    }
}

// A trial set that is too short or too narrow moves what it can.
TEST(MultidirectionalSearch, TakesNewDataBesideTheBestVertex) {
    TestFunction const f(2, sphere);
    KrMultidirectionalSearchOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(-1.0);
    optimizer.initialize(1.0, f, {1.0, 2.0}, 1.0);  // best: (1, 1), the last vertex
    optimizer.setNewData(KrReArray(1, 1), {7.0, 8.0});
    bool done = false;
    // Vertices (0, 2), (0, 2) and (1, 1): reflected, a point (2, 0); contracted, ...
    RecordingFunction const recording(f);
    EXPECT_EQ(optimizer.singleStep(1.0, recording, done), 2.0);
    EXPECT_EQ(recording.evaluations[0].point, (KrRealVector{2.0, 0.0}));
    EXPECT_EQ(recording.evaluations[1].point, (KrRealVector{2.0, 0.0}));
    EXPECT_EQ(recording.evaluations[2].point, (KrRealVector{0.5, 1.5}));
}

// f = 2 x0 from (1, 1) with edges 0.5: the lowest point of the stencil is 1, the trial
// point of a short line search 1.5. In two dimensions the slope that counts is 0.
TEST(ImplicitFiltering, FollowsTheSlopePastALowerPointOfTheStencil) {
    struct {
        char const* function;
        double tau;
        bool shrinks;
    } const cases[] = {
        {"linear0:1", 0.01, false}, {"linear0:2", 0.01, true}, {"linear0:2", 0.0, false}};
    for (auto const& row : cases) {
        auto const f = functionByName(row.function);
        KrImplicitFilteringOptimizer optimizer;
        optimizer.setDefaultSimplexEdgeLength(0.5);
        optimizer.setLineSearchInitialLambdaMultiplier(0.25);
        optimizer.setTau(row.tau);
        optimizer.initialize(1.0, *f, {1.0, 1.0}, 1.0);
        bool done = !row.shrinks;
        EXPECT_EQ(optimizer.singleStep(1.0, *f, done), 1.5);
        EXPECT_EQ(done, row.shrinks) << row.function << ' ' << row.tau;
    }
}

TEST(HookeJeeves, ReportsWhatItCannotUse) {
    KrPowellsQuarticFunction const powell;
    KrHookeJeevesOptimizer optimizer;
    CapturedMessages captured;
    std::string const size = "KrHookeJeevesOptimizer::initialize(): Incorrectly sized input. ";
    KrRealVector point;
    optimizer.findMinimum(powell, {3.0, -1.0}, point);
    EXPECT_EQ(captured.text(), size + " Input size: 2, Expected: 4\n");
    EXPECT_EQ(point.size(), 4U);
    optimizer.findMinimum(powell, {3.0, -1.0, 0.0, 1.0, 77.0}, point);
    EXPECT_EQ(captured.messages.back().text, size + " Input size: 5, Expected: 4\n");
    ASSERT_EQ(point.size(), 5U);
    EXPECT_EQ(point[4], 77.0);

    // Another mode explores nothing, and says so at each update.
    captured.messages.clear();
    optimizer.setDirectionsMode(7);
    Search const search = minimise(KrHookeJeevesOptimizer(optimizer), powell, powellStart);
    EXPECT_EQ(search.evaluations.size(), 1U + 22U * 4U);
    for (Evaluation const& evaluation : search.evaluations) {
        EXPECT_EQ(evaluation.point, powellStart);
    }
    EXPECT_EQ(captured.messages.size(), 11U);
    for (Kr::Message const& message : captured.messages) {
        EXPECT_EQ(message.text, "KrHookeJeevesOptimizer::updateDirections(): bad mode: 7\n");
        EXPECT_EQ(static_cast<int>(message.type), 4);
    }
    // The budget that ends with an exploration leaves no update.
    captured.messages.clear();
    optimizer.setMaxFunctionEvaluations(9);
    EXPECT_EQ(minimise(KrHookeJeevesOptimizer(optimizer), powell, powellStart).evaluations.size(),
              9U);
    EXPECT_EQ(captured.messages.size(), 1U);
    // On the object of a search it explores by that one's directions.
    optimizer.setDirectionsMode(1);
    Search const before = minimise(optimizer, powell, powellStart);
    optimizer.setDirectionsMode(7);
    expectSame(before, minimise(optimizer, powell, powellStart));
    captured.messages.clear();
    EXPECT_EQ(KrXml::toString(optimizer), "");
    EXPECT_NE(captured.text().find("7 is none of urn:zeibreku:function#none"), std::string::npos);
    EXPECT_FALSE(
        KrXml::fromString("<hookeJeeves xmlns='urn:zeibreku:function#'>"
                          "<directionsMode>rotated</directionsMode></hookeJeeves>",
                          optimizer));
    std::string const ns = "urn:zeibreku:function#";
    EXPECT_EQ(captured.messages.back().text,
              "<string>:1:45: hookeJeeves/directionsMode: expected one of " + ns + "none, " + ns +
                  "axisAligned, " + ns + "random, " + ns + "rotated, found \"rotated\"\n");
}

// On a constant function every step is taken back, so that the steps show the
// directions of each exploration.
TEST(HookeJeeves, RedrawsRandomOrthonormalDirections) {
    constexpr KrU32 n = 5;
    KrRealVector const start(n, 0.0);
    Search const search =
        minimise(*read("<hookeJeeves><directionsMode>urn:zeibreku:function#random</directionsMode>"
                       "<defaultEdgeLength>1</defaultEdgeLength></hookeJeeves>")
                      .topElement(),
                 *functionByName("constant:5"), start);
    ASSERT_EQ(search.evaluations.size(), 1U + 22U * n);
    auto const step = [&](std::size_t exploration, std::size_t i) {
        KrRealVector direction = search.evaluations[1 + exploration * 2 * n + 2 * i].point;
        for (double& component : direction) {
            component *= std::pow(2.0, static_cast<double>(exploration));
        }
        return direction;
    };
    for (std::size_t exploration = 0; exploration < 11; ++exploration) {
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t k = 0; k <= i; ++k) {
                double dot = 0.0;
                for (std::size_t j = 0; j < n; ++j) {
                    dot += step(exploration, i)[j] * step(exploration, k)[j];
                }
                EXPECT_NEAR(dot, i == k ? 1.0 : 0.0, 1e-13);
            }
        }
        if (exploration > 0) {
            EXPECT_NE(step(exploration, 0), step(exploration - 1, 0));
        }
    }
}

class CountingContractions : public KrHookeJeevesOptimizer {
public:
    void patternContraction() const override {
        ++contractions;
        KrHookeJeevesOptimizer::patternContraction();
    }
    mutable int contractions = 0;
};

TEST(HookeJeeves, HandsOverFromStateToState) {
    KrPowellsQuarticFunction const powell;
    CountingContractions optimizer;
    Search const search = minimise(optimizer, powell, powellStart);
    int const contractions = optimizer.contractions;
    EXPECT_GT(contractions, 1);
    // A state that a client enters goes on to the end of the search.
    RecordingFunction const recording(powell);
    optimizer.initialize(1.0, recording, powellStart, 99.0);
    optimizer.newExploratoryMove();
    EXPECT_EQ(optimizer.contractions, 2 * contractions);
    EXPECT_EQ(recording.evaluations.size(), search.evaluations.size());
    // A mode that is set meanwhile finds no directions yet, and no room for them.
    optimizer.initialize(1.0, recording, powellStart, 1.0);
    optimizer.setDirectionsMode(3);
    EXPECT_FALSE(optimizer.explore());
}

int counted = 0;

TEST(HookeJeeves, NeedsNoStackForItsMoves) {
    KrHookeJeevesOptimizer optimizer;
    optimizer.setReductionFactor(1.0);
    optimizer.setMaxFunctionEvaluations(2000000);
    TestFunction::Formula const endlessMoves = [](KrRealVector const& x, KrU32) {
        ++counted;
        return x[0];
    };
    TestFunction::Formula const endlessContractions = [](KrRealVector const&, KrU32) {
        ++counted;
        return 1.0;
    };
    for (auto const formula : {endlessMoves, endlessContractions}) {
        onSmallStack([&] {
            counted = 0;
            KrRealVector point{1.0};
            optimizer.findMinimum(TestFunction(1, formula), point, point);
            EXPECT_EQ(counted, 2000000);
        });
    }
}

TEST(Sequence, IsTheListThatItWasGiven) {
    KrSequenceOptimizer sequence;
    KrScalarMultivariableOptimizerVector list;
    KrNelderMeadOptimizer nelderMead;
    nelderMead.setAlpha(1.25);
    list.pushBack(nelderMead);
    list.pushBack(sequence);
    list.pushBack(KrHookeJeevesOptimizer());
    sequence.setOptimizerSequence(list);
    EXPECT_FALSE(sequence == KrSequenceOptimizer());
    KrSequenceOptimizer const copy(sequence);
    nelderMead.setAlpha(1.5);
    list.exchange(0, nelderMead);
    sequence.setOptimizerSequence(list);
    EXPECT_FALSE(copy == sequence);
    KrSequenceOptimizer back;
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(sequence), back));
    EXPECT_TRUE(back == sequence);
    EXPECT_FALSE(back.equalsDefault());
    // One of its own list, with all that it has.
    KrSequenceOptimizer inner;
    inner.setExecuteInParallel(true);
    inner.setOptimizerSequence(list);
    list.exchange(1, inner);
    back.setOptimizerSequence(list);
    back = dynamic_cast<KrSequenceOptimizer const&>(back.optimizerSequence()[1]);
    EXPECT_TRUE(back == inner);
}

TEST(Sequence, KeepsTheEarlierOfEqualAnswers) {
    KrRealVector const start{0.3};
    std::string const first = simplex("multidirectionalSearch");
    std::string const later =
        "<multidirectionalSearch><defaultSimplexEdgeLength>0.1</defaultSimplexEdgeLength>"
        "</multidirectionalSearch>";
    auto const plateau = functionByName("plateau:1");
    Search const alone = minimise(*read(first).topElement(), *plateau, start);
    Search const second = minimise(*read(later).topElement(), *plateau, start);
    EXPECT_EQ(alone.value, second.value);
    EXPECT_NE(alone.point, second.point);
    Container const both = read(sequence("true", first + later));
    EXPECT_EQ(minimise(*both.topElement(), *plateau, start).point, alone.point);
    // Nothing is better than no number.
    TestFunction const none(1, [](KrRealVector const&, KrU32) { return std::nan(""); });
    KrRealVector point{5.0};
    EXPECT_EQ(both.findMinimum(none, start, point), 1e300);
    EXPECT_EQ(point, start);
    EXPECT_EQ(both.findMaximum(none, start, point), -1e300);
}

// Sequences in one another, as deep as a document may be: the items of the
// innermost optimizer's lists would stand on the last level.
TEST(Sequence, NestsAsDeepAsADocument) {
    onSmallStack([] {
        std::string open;
        std::string close;
        for (int level = 0; level < 126; ++level) {
            open += "<sequenceOptimizer><optimizerSequence>";
            close += "</optimizerSequence></sequenceOptimizer>";
        }
        Container const nested = read(open + "<nelderMead/>" + close);
        Container const copy(nested);
        EXPECT_TRUE(copy == nested);
        KrPowellsQuarticFunction const powell;
        EXPECT_EQ(minimise(*copy.topElement(), powell, powellStart).value,
                  minimise(KrNelderMeadOptimizer(), powell, powellStart).value);
        Container back;
        EXPECT_TRUE(KrXml::fromString(KrXml::toString(nested), back));
        EXPECT_TRUE(back == nested);
        EXPECT_FALSE(KrXml::schemaToString(nested).empty());
    });
}

}  // namespace
