// Every optimizer, and what the recorded searches do not show of each.

#include "foundation/math/KrRandom.h"
#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/SmallStack.h"
#include "tests/support/Texts.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>

namespace {

using Container = KrScalarMultivariableOptimizerContainer;

using TestFunction = KrCallableFunction<std::function<double(KrRealVector const&)>>;

KrRealVector const powellStart{3.0, -1.0, 0.0, 1.0};
KrPowellsQuarticFunction const powell;

double rosenbrock(KrRealVector const& x) {
    double sum = 0.0;
    for (std::size_t i = 0; i + 1 < x.size(); ++i) {
        double const a = x[i + 1] - x[i] * x[i];
        double const b = 1.0 - x[i];
        sum += 100.0 * (a * a) + b * b;
    }
    return sum;
}

TestFunction sphere(KrU32 n) {
    return {n,
            [](auto const& x) { return std::inner_product(x.begin(), x.end(), x.begin(), 0.0); }};
}

TestFunction constant(KrU32 n) {
    return {n, [](KrRealVector const&) { return 1.0; }};
}

TestFunction linear(KrU32 n) {
    return {n, [](KrRealVector const& x) { return 2.0 * x[0]; }};
}

// Passes on to another function and records each evaluation.
class RecordingFunction : public KrScalarMultivariableFunction {
public:
    explicit RecordingFunction(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override { return record(false, x); }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        values.clear();
        for (KrRealVector const& point : points) {
            values.push_back(record(true, point));
        }
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

    mutable std::vector<Evaluation> evaluations;

private:
    double record(bool inBatch, KrRealVector const& x) const {
        evaluations.push_back({inBatch, x, f_.evaluate(x)});
        return evaluations.back().value;
    }

    KrScalarMultivariableFunction const& f_;
};

Container read(std::string const& settings) {
    Container container;
    EXPECT_TRUE(KrXml::fromString(document("optimizerContainer", settings), container)) << settings;
    return container;
}

std::string budget(KrU32 evaluations) {
    return component("maxFunctionEvaluations", std::to_string(evaluations));
}

std::string hookeJeeves(std::string const& mode, std::string const& more = "") {
    return component("hookeJeeves", component("directionsMode", "urn:zeibreku:function#" + mode) +
                                        component("defaultEdgeLength", "0.5") + more);
}

std::string simplex(std::string const& tag, std::string const& more = "") {
    return component(tag, component("defaultSimplexEdgeLength", "0.5") + more);
}

std::string sequence(std::string const& parallel, std::string const& optimizers) {
    return component("sequenceOptimizer", component("numberPasses", "2") +
                                              component("executeInParallel", parallel) +
                                              component("optimizerSequence", optimizers));
}

std::vector<std::string> allSettings() {
    std::string const all = simplex("implicitFiltering") + hookeJeeves("rotated") +
                            simplex("multidirectionalSearch") + simplex("nelderMead");
    return {simplex("nelderMead", component("restartCheckPeriod", "3")),
            simplex("multidirectionalSearch"),
            simplex("implicitFiltering"),
            hookeJeeves("none"),
            hookeJeeves("axisAligned"),
            hookeJeeves("random"),
            hookeJeeves("rotated"),
            sequence("false", all + sequence("true", all)),
            sequence("true", all + sequence("false", all))};
}

// Fills the list of values in place, and needs it in its size for that.
class Negative : public KrScalarMultivariableFunction {
public:
    explicit Negative(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override { return -f_.evaluate(x); }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        ASSERT_EQ(values.size(), points.size());
        std::ranges::transform(points, values.begin(), [this](auto& x) { return evaluate(x); });
    }
    KrU32 domainDim() const override { return f_.domainDim(); }

private:
    KrScalarMultivariableFunction const& f_;
};

// The function, which does something at one of its evaluations.
TestFunction interrupted(KrScalarMultivariableFunction const& f, std::size_t at,
                         std::function<void()> act) {
    return {f.domainDim(), [&f, at, act](KrRealVector const& x) mutable {
                if (--at == 0) {
                    act();
                }
                return f.evaluate(x);
            }};
}

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

TEST(PowellsQuartic, ValuesBatchesAndEquality) {
    KrPowellsQuarticFunction f;
    EXPECT_EQ(f.evaluate({3, -1, 0, 1}), 215.0);
    EXPECT_EQ(f.evaluate({0, 0, 0, 0, 99}), 0.0);
    EXPECT_TRUE(std::isnan(f.evaluate({1, 2, 3})));
    EXPECT_EQ(f.domainDim(), 4U);
    f.setMultiplier(-2.0);
    EXPECT_TRUE(f == KrPowellsQuarticFunction());  // functions compare by their class alone
    KrRealVector values(5, 7.0);
    f.evaluateMultiple({{3, -1, 0, 1}, {0, 0, 0, 0}, {1, 0, 0, 0}}, values);
    EXPECT_EQ(values, (KrRealVector{-430, 0, -22}));
    f.evaluateMultiple({}, values);
    EXPECT_TRUE(values.empty());
}

TEST(Optimizers, KeepTheirPromises) {
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

            // What a start lacks is 0, whatever was searched before.
            CapturedMessages const captured;
            KrRealVector const incomplete{start[0], start[1]};
            KrRealVector complete = incomplete;
            complete.resize(start.size());
            expectSame(minimise(optimizer, f, incomplete), minimise(optimizer, f, complete));
        }
    }
}

// The function throws, or starts a search itself, at any of its evaluations. Neither changes
// another search.
TEST(Optimizers, MayBeInterruptedAtAnyEvaluation) {
    TestFunction const bowl = sphere(7);
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
            auto const fail = [] { throw std::runtime_error("client"); };
            KrRandom::seed(1);
            EXPECT_THROW(optimizer.findMinimum(interrupted(powell, n, fail), powellStart, point),
                         std::runtime_error);
            if (n % 7 == 1) {
                expectSame(minimise(optimizer, powell, powellStart), search);
            }
            auto const nest = [&] { expectSame(minimise(optimizer, bowl, start), inner); };
            Search const outer = minimise(optimizer, interrupted(powell, n, nest), powellStart);
            if (settings.find("random") == std::string::npos) {  // both draw from one stream
                expectSame(outer, search);
            }
        }
    }
}

// Evaluations that can be counted by hand: those that are not charged, those within the
// budget, and those that finish a step.
TEST(Optimizers, SpendWhatTheirMethodNeeds) {
    std::string const all = budget(4294967295);
    std::string const noThreshold = component("stoppingThreshold", "0");
    struct {
        std::string settings;
        KrScalarMultivariableFunction const& f;
        std::size_t evaluations;
    } const cases[] = {
        // The first simplex is not charged, and a step in progress is finished.
        {simplex("nelderMead", component("maxTotalSteps", "0")), powell, 5},
        {simplex("nelderMead", component("maxTotalSteps", "1")), powell, 5 + 2},
        {simplex("nelderMead", budget(0)), powell, 5 + 2},
        {simplex("nelderMead", budget(20)), powell, 5 + 21},
        // On a constant a step costs two evaluations, and its shrink five more if the
        // budget has them.
        {simplex("nelderMead", noThreshold + budget(6)), constant(4), 5 + 6},
        {simplex("nelderMead", noThreshold + budget(7)), constant(4), 5 + 7},
        {simplex("nelderMead", noThreshold + budget(8)), constant(4), 5 + 9},
        {hookeJeeves("none", budget(0)), powell, 1},
        {hookeJeeves("none", budget(2)), powell, 2},
        {hookeJeeves("none", budget(9)), powell, 9 + 1},  // a pattern point
        {hookeJeeves("rotated", budget(8)), powell, 8},
        // Eleven explorations of 2n, ten contractions between them.
        {"<hookeJeeves/>", constant(3), 1 + 22 * 3},
        {"<hookeJeeves/>", constant(13), 1 + 22 * 13},
        {"<hookeJeeves/>", constant(14), 300},
        {hookeJeeves("rotated"), constant(3), 1 + 22 * 3},
        // Without a dimension there is nothing to contract for.
        {hookeJeeves("none", component("reductionFactor", "1") + all), constant(0), 1},
        {hookeJeeves("rotated", all), constant(0), 1},
        // A step is 2n. A flat simplex has no spread left; with no threshold the budget
        // ends it.
        {simplex("multidirectionalSearch", budget(0)), powell, 5},
        {simplex("multidirectionalSearch", budget(9)), powell, 5 + 16},
        {"<multidirectionalSearch/>", constant(3), 4 + 6},
        {simplex("multidirectionalSearch", noThreshold), constant(3), 4 + 300},
        {simplex("multidirectionalSearch", all), constant(0), 1},
        // A line search, and the next stencil. Where every line search fails, and
        // where none is made.
        {simplex("implicitFiltering", budget(0)), powell, 9},
        {simplex("implicitFiltering", budget(1)), powell, 9 + 4 + 9},
        {"<implicitFiltering/>", constant(2), 5 + 10 * (25 + 5)},
        {simplex("implicitFiltering", component("lineSearchMaxIterations", "0")), sphere(2),
         5 + 60 * 5},
        {"<implicitFiltering/>", constant(0), 1 + 300},
        {"<sequenceOptimizer/>", sphere(2), 1},
        {component("sequenceOptimizer", component("numberPasses", "0") +
                                            component("optimizerSequence", "<nelderMead/>")),
         sphere(2), 1},
    };
    for (auto const& row : cases) {
        KrRealVector const start(row.f.domainDim(), 1.0);
        Search const search = minimise(*read(row.settings).topElement(), row.f, start);
        EXPECT_EQ(search.evaluations.size(), row.evaluations) << row.settings;
        EXPECT_EQ(search.value, row.f.evaluate(search.point));
    }
}

TEST(Optimizers, ABatchThatAFunctionForgotCountsAsNaN) {
    struct Forgetful : KrPowellsQuarticFunction {
        void evaluateMultiple(std::vector<KrRealVector> const&,
                              KrRealVector& values) const override {
            values.clear();
        }
    };
    KrRealVector point;
    Container const optimizer = read("<nelderMead><maxTotalSteps>0</maxTotalSteps></nelderMead>");
    EXPECT_TRUE(std::isnan(optimizer.findMinimum(Forgetful(), powellStart, point)));
    EXPECT_EQ(point, powellStart);
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

TEST(Optimizers, AnEmptyContainerFindsNothing) {
    KrRealVector result{7};
    EXPECT_EQ(Container().findMinimum(KrPowellsQuarticFunction(), powellStart, result), 0.0);
    EXPECT_EQ(Container().findMaximum(KrPowellsQuarticFunction(), powellStart, result), 0.0);
    EXPECT_EQ(result, KrRealVector{7});
}

TEST(Optimizers, DoNothingBeforeASearchWasSetUp) {
    bool done = false;
    KrMultidirectionalSearchOptimizer const multidirectional;
    EXPECT_EQ(multidirectional.singleStep(1.0, powell, done), 0.0);
    EXPECT_TRUE(done);
    multidirectional.setNewData(KrReArray(4, 4), KrRealVector(4));
    KrImplicitFilteringOptimizer const filtering;
    EXPECT_EQ(filtering.singleStep(1.0, powell, done), 0.0);
    EXPECT_FALSE(done);
    KrHookeJeevesOptimizer rotated;
    rotated.setDirectionsMode(KrHookeJeevesOptimizer::ROTATED);
    rotated.newExploratoryMove();
    rotated.transitionalMove();
    rotated.patternContraction();
    rotated.updateDirections();
    rotated.updateDirections();
    EXPECT_FALSE(rotated.explore());
    // After a search its function may be gone. A move that threw does not change the next one.
    rotated.setMaxFunctionEvaluations(100'000);
    Search const search = minimise(rotated, powell, powellStart);
    EXPECT_FALSE(rotated.explore());
    auto const fail = [] { throw std::runtime_error("client"); };
    TestFunction const failing = interrupted(powell, 30, fail);
    rotated.initialize(1.0, failing, powellStart, 1.0);
    EXPECT_THROW(rotated.newExploratoryMove(), std::runtime_error);
    expectSame(minimise(rotated, powell, powellStart), search);
    KrNelderMeadOptimizer const nelderMead;
    EXPECT_EQ(nelderMead.singleStep(1.0, powell, done), 0.0);
    EXPECT_TRUE(done);
    nelderMead.restartIfNeeded(1.0, powell);
    nelderMead.exchangeHighVertex(4, powellStart, 1.0);
    nelderMead.exchangeHighVertexAndContract(1.0, powell, 4, powellStart, 1.0);
    nelderMead.findMaxAndMin();
    nelderMead.calculateVertexMeanExcludingMaxPoint();
    nelderMead.initialize(1.0, powell, powellStart, 1.0);
    nelderMead.exchangeHighVertex(9, {1.0}, 1.0);  // no more than both have
    nelderMead.exchangeHighVertex(9, KrRealVector(9, 1.0), 1.0);
    // An exception leaves no values of a smaller simplex.
    TestFunction const plane = sphere(2);
    EXPECT_THROW(nelderMead.initialize(1.0, interrupted(plane, 1, fail), {}, 1.0),
                 std::runtime_error);
    nelderMead.exchangeHighVertex(4, powellStart, 1.0);
    nelderMead.findMaxAndMin();
    nelderMead.singleStep(1.0, powell, done);
}

// Beyond 16 unknowns the restart test bounds most distances by a part of their sum. These
// are the results with every distance summed in full. Where the component that the
// function ignores is infinite, every distance is NaN.
TEST(NelderMead, RestartsWhereWholeDistancesSaySo) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    TestFunction const f(40, [](KrRealVector const& x) {
        return rosenbrock({x.begin(), x.begin() + 20});
    });
    struct {
        double eta;
        double ignored;
        std::size_t evaluations;
        double value;
    } const cases[] = {
        {0.0, 0.5, 354, 0x1.87fb4876a892p+6},        {1e-6, 0.5, 2424, 0x1.6e6797ec720f2p+6},
        {1e-3, 0.5, 4041, 0x1.88424501b61abp+6},     {0.3, 0.5, 4075, 0x1.5132c319c5a34p+5},
        {-1.0, 0.5, 305, 0x1.b06139aa4ac86p+6},      {infinity, 0.5, 4075, 0x1.5132c319c5a34p+5},
        {1e-6, infinity, 4075, 0x1.5132c319c5a34p+5}};
    for (auto const& [eta, ignored, evaluations, value] : cases) {
        KrNelderMeadOptimizer optimizer;
        optimizer.setRestartCheckPeriod(0);
        optimizer.setEta(eta);
        optimizer.setDefaultSimplexEdgeLength(0.3);
        optimizer.setMaxFunctionEvaluations(4000);
        KrRealVector start(40, 0.5);
        start[30] = ignored;
        Search const search = minimise(optimizer, f, start);
        EXPECT_EQ(search.evaluations.size(), evaluations) << eta;
        EXPECT_EQ(search.value, value) << eta;
    }
}

// A copy has the evaluations of its source, and no points.
// On a line that falls for ever, the simplex {0, 1} expands to {1, 3}, {3, 7} and so on, then
// reflects.
TEST(NelderMead, ExpandsAsOftenAsItMay) {
    TestFunction const falling(1, [](KrRealVector const& x) { return -x[0]; });
    for (auto const& [most, value] : {std::pair{0U, -6.0}, {3U, -31.0}, {4U, -47.0}}) {
        KrNelderMeadOptimizer optimizer;
        optimizer.setDefaultSimplexEdgeLength(1.0);
        optimizer.setMaxTotalSteps(5);
        optimizer.setMaxExpansionSteps(most);
        EXPECT_EQ(minimise(optimizer, falling, {0.0}).value, value) << most;
    }
}

TEST(MultidirectionalSearch, CopiesCountOn) {
    TestFunction const f = sphere(2);
    KrMultidirectionalSearchOptimizer used;
    used.setMaxFunctionEvaluations(20);
    KrRealVector point;
    used.findMinimum(f, {1.0, 1.0}, point);
    KrMultidirectionalSearchOptimizer fresh;
    fresh.setMaxFunctionEvaluations(20);
    auto const isSpentAfterAStep = [&f](KrMultidirectionalSearchOptimizer const& optimizer) {
        optimizer.initialize(1.0, f, {1.0, 1.0}, 1.0);
        bool done = false;
        optimizer.singleStep(1.0, f, done);
        return done;
    };
    EXPECT_TRUE(isSpentAfterAStep(KrMultidirectionalSearchOptimizer(used)));
    EXPECT_FALSE(isSpentAfterAStep(fresh));
}

// A trial set with too few points or coordinates replaces as many as it has.
TEST(MultidirectionalSearch, TakesNewDataBesideTheBestVertex) {
    TestFunction const f = sphere(2);
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
        TestFunction f;
        double edge;
        double tau;
        bool shrinks;
    } const cases[] = {{linear(1), 0.5, 0.01, false},
                       {linear(1), -0.5, 0.01, false},
                       {linear(2), 0.5, 0.01, true},
                       {linear(2), -0.5, 0.01, true},
                       {linear(2), 0.5, 0.0, false}};
    for (auto const& row : cases) {
        KrImplicitFilteringOptimizer optimizer;
        optimizer.setDefaultSimplexEdgeLength(row.edge);
        optimizer.setLineSearchInitialLambdaMultiplier(0.25);
        optimizer.setTau(row.tau);
        optimizer.initialize(1.0, row.f, {1.0, 1.0}, 1.0);
        bool done = !row.shrinks;
        EXPECT_EQ(optimizer.singleStep(1.0, row.f, done), 1.5);
        EXPECT_EQ(done, row.shrinks) << &row - cases;
    }
}

TEST(HookeJeeves, ReportsAStartOfAnotherSize) {
    for (KrRealVector const& start : {KrRealVector{3, -1}, KrRealVector{3, -1, 0, 1, 77}}) {
        CapturedMessages const captured;
        KrRealVector point;
        KrHookeJeevesOptimizer().findMinimum(KrPowellsQuarticFunction(), start, point);
        EXPECT_EQ(captured.text(),
                  "KrHookeJeevesOptimizer::initialize(): Incorrectly sized input.  Input size: " +
                      std::to_string(start.size()) + ", Expected: 4\n");
        EXPECT_EQ(point.size(), std::max<std::size_t>(start.size(), 4));
        EXPECT_TRUE(start.size() < 4 || point.back() == 77.0);
    }
}

TEST(HookeJeeves, AnUnknownModeExploresNothingAndIsReportedAtEachUpdate) {
    KrHookeJeevesOptimizer optimizer;
    optimizer.setDirectionsMode(7);
    CapturedMessages captured;
    Search const search = minimise(KrHookeJeevesOptimizer(optimizer), powell, powellStart);
    EXPECT_EQ(search.evaluations.size(), 1U + 22U * 4U);
    EXPECT_EQ(search.point, powellStart);
    EXPECT_EQ(captured.messages.size(), 11U);
    EXPECT_EQ(captured.messages[0].text,
              "KrHookeJeevesOptimizer::updateDirections(): bad mode: 7\n");
    // After another search it explores along that one's directions.
    optimizer.setDirectionsMode(KrHookeJeevesOptimizer::AXIS_ALIGNED);
    Search const before = minimise(optimizer, powell, powellStart);
    optimizer.setDirectionsMode(7);
    expectSame(before, minimise(optimizer, powell, powellStart));
}

// On a constant function every step is taken back. The steps from the origin then show the
// directions of each exploration.
TEST(HookeJeeves, RedrawsRandomOrthonormalDirections) {
    constexpr std::size_t n = 5;
    KrHookeJeevesOptimizer optimizer;
    optimizer.setDirectionsMode(2);
    optimizer.setDefaultEdgeLength(1.0);
    Search const search = minimise(optimizer, constant(5), KrRealVector(n, 0.0));
    ASSERT_EQ(search.evaluations.size(), 1U + 22U * n);
    auto const dotProduct = [&](std::size_t step, std::size_t other) {
        KrRealVector const& a = search.evaluations[1 + 2 * step].point;
        KrRealVector const& b = search.evaluations[1 + 2 * other].point;
        return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
    };
    for (std::size_t exploration = 0; exploration < 11; ++exploration) {
        std::size_t const first = exploration * n;
        double const squaredLength = std::pow(0.25, static_cast<double>(exploration));
        for (std::size_t i = first; i < first + n; ++i) {
            for (std::size_t k = first; k <= i; ++k) {
                EXPECT_NEAR(dotProduct(i, k) / squaredLength, i == k ? 1.0 : 0.0, 1e-13);
            }
        }
        if (exploration > 0) {  // the one before is twice as long
            EXPECT_LT(dotProduct(first, first - n), 1.999 * squaredLength);
        }
    }
}

TEST(HookeJeeves, AMoveThatAClientStartsGoesOnToTheEnd) {
    KrHookeJeevesOptimizer optimizer;
    Search const search = minimise(optimizer, powell, powellStart);
    RecordingFunction const recording(powell);
    optimizer.initialize(1.0, recording, powellStart, 99.0);
    optimizer.newExploratoryMove();
    EXPECT_EQ(recording.evaluations.size(), search.evaluations.size());
    // A mode that is set after that has no directions yet.
    optimizer.initialize(1.0, recording, powellStart, 1.0);
    optimizer.setDirectionsMode(KrHookeJeevesOptimizer::ROTATED);
    EXPECT_FALSE(optimizer.explore());
}

TEST(HookeJeeves, NeedsNoStackForItsMoves) {
    constexpr KrU32 many = 2'000'000;
    KrHookeJeevesOptimizer optimizer;
    optimizer.setReductionFactor(1.0);
    optimizer.setMaxFunctionEvaluations(many);
    for (TestFunction const& endless : {linear(1), constant(1)}) {  // moves, contractions
        onSmallStack([&] {
            bool reached = false;
            KrRealVector point{1.0};
            optimizer.findMinimum(interrupted(endless, many, [&] { reached = true; }), point,
                                  point);
            EXPECT_TRUE(reached);
        });
    }
}

TEST(Sequence, MayBecomeOneOfItsOwnList) {
    KrSequenceOptimizer inner;
    inner.setExecuteInParallel(true);
    KrScalarMultivariableOptimizerVector list;
    list.pushBack(KrNelderMeadOptimizer());
    inner.setOptimizerSequence(list);
    list.pushBack(inner);
    KrSequenceOptimizer sequence;
    sequence.setOptimizerSequence(list);
    sequence = dynamic_cast<KrSequenceOptimizer const&>(sequence.optimizerSequence()[1]);
    EXPECT_TRUE(sequence == inner);
}

TEST(Sequence, KeepsTheEarlierOfEqualAnswers) {
    KrRealVector const start{0.3};
    std::string const first = simplex("multidirectionalSearch");
    std::string const later =
        component("multidirectionalSearch", component("defaultSimplexEdgeLength", "0.1"));
    TestFunction const plateau(1,
                               [](auto const& x) { return std::pow(std::floor(4.0 * x[0]), 2); });
    Search const alone = minimise(*read(first).topElement(), plateau, start);
    Search const second = minimise(*read(later).topElement(), plateau, start);
    EXPECT_EQ(alone.value, second.value);
    EXPECT_NE(alone.point, second.point);
    Container const both = read(sequence("true", first + later));
    EXPECT_EQ(minimise(*both.topElement(), plateau, start).point, alone.point);
    // No value is better than NaN.
    TestFunction const none(1, [](KrRealVector const&) { return std::nan(""); });
    KrRealVector point{5.0};
    EXPECT_EQ(both.findMinimum(none, start, point), 1e300);
    EXPECT_EQ(point, start);
    EXPECT_EQ(both.findMaximum(none, start, point), -1e300);
}

// Sequences in sequences, as deep as a document may be.
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
        EXPECT_EQ(minimise(*copy.topElement(), powell, powellStart).value,
                  minimise(KrNelderMeadOptimizer(), powell, powellStart).value);
        Container back;
        EXPECT_TRUE(KrXml::fromString(KrXml::toString(nested), back));
        EXPECT_TRUE(back == nested);
        EXPECT_FALSE(KrXml::schemaToString(nested).empty());
    });
}

}  // namespace
