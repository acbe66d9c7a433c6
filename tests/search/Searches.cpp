// What a search adds to an optimizer: the same bits, limits, bounds, and a report.

#include "search/KrSearch.h"

#include "foundation/math/KrRandom.h"
#include "foundation/math/KrRandomScope.h"
#include "foundation/math/KrRandomStream.h"
#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "search/KrCallingThread.h"
#include "search/KrEvaluation.h"
#include "search/KrSignalStop.h"
#include "support/MoreWild.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <csignal>
#include <functional>
#include <thread>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Notes every call, batches with their sizes, and can act before one.
class Noting : public KrScalarMultivariableFunction {
public:
    using Formula = std::function<double(KrRealVector const&)>;
    Noting(KrU32 dimension, Formula formula, bool hasBatch)
        : formula_(std::move(formula)), dimension_(dimension), hasBatch_(hasBatch) {}

    double evaluate(KrRealVector const& x) const override {
        calls.push_back(1.0);
        return value(x);
    }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        if (!hasBatch_) {
            KrScalarMultivariableFunction::evaluateMultiple(points, values);
            return;
        }
        calls.push_back(-static_cast<double>(points.size()));
        values.clear();
        for (KrRealVector const& point : points) {
            values.push_back(value(point));
        }
    }
    KrU32 domainDim() const override { return dimension_; }

    bool draws = false;  // from the caller's random stream
    mutable KrRealVector calls;
    mutable double lowest = infinity;
    mutable double highest = -infinity;

private:
    double value(KrRealVector const& x) const {
        calls.insert(calls.end(), x.begin(), x.end());
        if (draws) {
            KrRandom::uniformRealRandom(0.0, 1.0);
        }
        double const found = formula_(x);
        lowest = std::min(lowest, found);
        highest = std::max(highest, found);
        return found;
    }
    Formula formula_;
    KrU32 dimension_;
    bool hasBatch_;
};

bool sameBits(KrRealVector const& a, KrRealVector const& b) {
    return std::ranges::equal(a, b, {}, std::bit_cast<std::uint64_t, double>,
                              std::bit_cast<std::uint64_t, double>);
}

TEST(Search, MakesTheCallsAndFindsTheBitsOfItsOptimizer) {
    for (std::string const& optimizer : everyOptimizer(150)) {
        for (auto const& problem : MoreWild::problems) {
            for (bool const maximise : {false, true}) {
                MoreWild::Function const f(problem, MoreWild::Variant::smooth);
                auto const formula = [&](KrRealVector const& x) {
                    return maximise ? -f.evaluate(x) : f.evaluate(x);
                };
                KrSearch search = searchOf(optimizer, problem.start());
                search.setRemember(false);
                search.setMaximise(maximise);

                Noting const alone(problem.n, formula, true);
                KrScalarMultivariableOptimizerContainer const clone(search.optimizer());
                KrRealVector answer;
                KrRandomStream stream(search.seed());
                KrRandomScope const scope(stream);
                double const value = maximise ? clone.findMaximum(alone, problem.start(), answer)
                                              : clone.findMinimum(alone, problem.start(), answer);

                Noting searched(problem.n, formula, true);
                searched.draws = true;  // which must not reach the optimizer
                KrSearchReport const report = search.run(searched);
                ASSERT_EQ(report.reason(), KrSearchReason::Finished);
                ASSERT_TRUE(sameBits(alone.calls, searched.calls)) << optimizer;
                ASSERT_TRUE(sameBits(answer, values(report.answerPoint())));
                ASSERT_TRUE(sameBits({value}, {report.answer()}));
                ASSERT_EQ(maximise ? alone.highest : alone.lowest, report.bestValue());
            }
        }
    }
}

// A stop is seen before the next evaluation, wherever the search is, and the search can be run
// again at once.
TEST(Search, StopsBetweenAnyTwoEvaluations) {
    KrRealVector const start{3.0, -1.0, 0.5};
    auto const bowl = [](KrRealVector const& x) {
        return (x[0] - 1.0) * (x[0] - 1.0) + 4.0 * x[1] * x[1] + x[2] * x[2];
    };
    for (std::string const& optimizer : everyOptimizer(60)) {
        KrSearch search = searchOf(optimizer, start);
        search.setRemember(false);
        KrU32 const all = search.run(KrCallableFunction(3, bowl)).evaluations();
        for (KrU32 last = 0; last < all; ++last) {
            std::stop_source source;
            KrU32 count = 0;
            double best = infinity;
            KrCallableFunction const f(3, [&](KrRealVector const& x) {
                best = std::min(best, bowl(x));
                if (count++ == last) {
                    source.request_stop();
                }
                return bowl(x);
            });
            KrSearchReport report = search.run(f, {.stop = source.get_token()});
            bool const isLast = last + 1 == all;
            ASSERT_EQ(count, last + 1) << optimizer;
            ASSERT_EQ(report.reasonText(), isLast ? "finished" : "cancelled");
            ASSERT_EQ(report.bestValue(), best);
            ASSERT_EQ(bowl(values(report.bestPoint())), best);

            search.setMaxEvaluations(last + 1);
            count = 0;
            report = search.run(f);
            ASSERT_EQ(count, last + 1);
            ASSERT_EQ(report.reasonText(), isLast ? "finished" : "evaluations");
            search.setMaxEvaluations(0);

            // An exception passes, and the report is filled.
            struct Broken {};
            count = 0;
            KrCallableFunction const broken(3, [&](KrRealVector const& x) {
                if (count++ == last) {
                    throw Broken();
                }
                return bowl(x);
            });
            ASSERT_THROW(search.run(broken, {.report = &report}), Broken);
            ASSERT_EQ(report.reasonText(), "failed");
            ASSERT_EQ(report.evaluations(), last);
        }
    }
}

// The same function behind workers that the search must go through.
class Forwarding : public KrEvaluationWorkers {
public:
    explicit Forwarding(KrScalarMultivariableFunction const& f) : thread_(f) {}
    KrU32 count() const override { return thread_.count(); }
    void start(std::span<KrEvaluationRequest const> requests) override { thread_.start(requests); }
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
        return thread_.finish(all, until, stop);
    }
    void cancel() override { thread_.cancel(); }

private:
    KrCallingThread thread_;
};

TEST(Search, WorkersGiveTheBitsOfTheCallingThread) {
    for (std::string const& optimizer : everyOptimizer(60)) {
        for (bool const remember : {false, true}) {
            KrSearch search = searchOf(optimizer, {1.0, 2.0});
            search.setRemember(remember);
            search.setMaxEvaluations(90);
            KrRealVector points[2];
            std::stop_source source;
            KrU32 left = 0;  // evaluations until something happens
            bool throws = false;
            auto const function = [&](KrRealVector& seen) {
                return KrCallableFunction(2, [&](KrRealVector const& x) {
                    seen.insert(seen.end(), x.begin(), x.end());
                    if (--left == 0) {
                        throws ? throw std::logic_error("of the client") : source.request_stop();
                    }
                    if (x[0] > 1.2) {
                        throw KrEvaluationFailure("too large");
                    }
                    return std::hypot(x[0] - 1.0, 3.0 * x[1]);
                });
            };
            for (int const event : {0, 1, 2}) {  // nothing, a stop, an exception
                KrSearchReport reports[2];
                for (int way : {0, 1}) {
                    points[way].clear();
                    left = event == 0 ? 0 : 17;
                    throws = event == 2;
                    source = std::stop_source();
                    auto const f = function(points[way]);
                    KrCallingThread thread(f);
                    Forwarding forwarding(f);
                    KrEvaluationWorkers& workers =
                        way == 0 ? static_cast<KrEvaluationWorkers&>(thread) : forwarding;
                    KrSearchContext const context{.report = &reports[way],
                                                  .stop = source.get_token()};
                    if (throws) {
                        EXPECT_THROW(search.run(workers, context), std::logic_error);
                    } else {
                        search.run(workers, context);
                    }
                }
                EXPECT_EQ(reports[0].reasonText(), reports[1].reasonText());
                EXPECT_EQ(reports[0].evaluations(), reports[1].evaluations());
                EXPECT_EQ(reports[0].failures(), reports[1].failures());
                EXPECT_EQ(reports[0].bestPoint(), reports[1].bestPoint());
                EXPECT_GE(points[0].size(), event == 0 ? 60u : 34u);
                // A batch that was handed out goes on after an exception of one of its points.
                ASSERT_GE(points[1].size(), points[0].size());
                points[1].resize(event == 2 ? points[0].size() : points[1].size());
                EXPECT_EQ(points[0], points[1]);
            }
        }
    }
}

TEST(Search, EndsAtTargetStallAndTime) {
    KrSearch search = searchOf(everyOptimizer(500)[0], {3.0, -1.0});
    KrCallableFunction const bowl(
        2, [](KrRealVector const& x) { return x[0] * x[0] + 4.0 * x[1] * x[1]; });
    KrSearchReport const finished = search.run(bowl);
    search.setTargetValue(0.1);
    KrSearchReport report = search.run(bowl);
    EXPECT_EQ(report.reasonText(), "target");
    EXPECT_LE(report.bestValue(), 0.1);
    EXPECT_LT(report.evaluations(), finished.evaluations());

    search.setTargetValue(nan);
    search.setStallEvaluations(30);
    search.setStallImprovement(0.5);
    search.setOptimizer(*searchOf(everyOptimizer(500)[1], {}).optimizer().topElement());
    KrCallableFunction const shelf(
        2, [](KrRealVector const& x) { return 1.0 + 1e-3 * (x[0] * x[0] + x[1] * x[1]); });
    EXPECT_EQ(search.run(shelf).evaluations(), 31U);
    EXPECT_EQ(search.run(shelf).reasonText(), "stalled");

    search.setStallEvaluations(0);
    search.setMaxSeconds(0.0);
    report = search.run(bowl);
    EXPECT_EQ(report.reasonText(), "time");
    EXPECT_EQ(report.evaluations(), 0U);
    EXPECT_TRUE(std::isnan(report.bestValue()));
}

TEST(Search, StopsOnASignal) {
    KrSearch const search = searchOf(everyOptimizer(500)[0], {3.0, -1.0});
    KrSignalStop const signals;
    KrU32 count = 0;
    KrCallableFunction const f(2, [&](KrRealVector const& x) {
        if (++count == 5) {
            std::raise(SIGTERM);
            while (!signals.token().stop_requested()) {
                std::this_thread::yield();
            }
        }
        return x[0] * x[0] + x[1] * x[1];
    });
    EXPECT_EQ(search.run(f, {.stop = signals.token()}).reasonText(), "cancelled");
    EXPECT_EQ(count, 5U);
}

TEST(Search, KeepsBoundsAtEveryEvaluation) {
    for (std::string const& optimizer : everyOptimizer(200)) {
        for (bool const maximise : {false, true}) {
            KrSearch search;
            search.addVariable("a", 0.5, 0.0, 1.0);
            search.addVariable("b", 7.0, -infinity, 2.0, 5.0);  // is moved onto its bound
            search.addVariable("c", -3.0, -4.0, infinity, 0.3);
            search.setMaximise(maximise);
            search.setOptimizer(*searchOf(optimizer, {}).optimizer().topElement());
            double const sign = maximise ? -1.0 : 1.0;
            KrCallableFunction const f(3, [&](KrRealVector const& x) {
                EXPECT_TRUE(x[0] >= 0.0 && x[0] <= 1.0 && x[1] <= 2.0 && x[2] >= -4.0);
                return sign * ((x[0] - 0.3) * (x[0] - 0.3) + (x[1] - 3.0) * (x[1] - 3.0) +
                               (x[2] + 5.0) * (x[2] + 5.0));
            });
            CapturedMessages const captured;
            KrSearchReport const report = search.run(f);
            EXPECT_NE(captured.text().find("start: expected a point inside the bounds"),
                      std::string::npos);
            EXPECT_LT(sign * report.bestValue(), 4.0) << optimizer;  // 2 at (0.3, 2, -4)
        }
    }
}

TEST(Search, PenalisesConstraintsAndReplacesFailures) {
    KrSearch search = searchOf(everyOptimizer(400)[0], {0.0, 0.0});
    KrLinearMultivariableConstraint half;  // x0 + x1 - 1 <= 0
    half.setOffset(-1.0);
    half.setCoefficient(0, 1.0);
    half.setCoefficient(1, 1.0);
    KrMultivariableConstraintVector constraints;
    constraints.pushBack(half);
    search.setConstraints(constraints);
    KrU32 failures = 0;
    KrCallableFunction const f(2, [&](KrRealVector const& x) {
        if (x[0] > 0.75) {
            ++failures;
            throw KrEvaluationFailure("no convergence");
        }
        return (x[0] - 2.0) * (x[0] - 2.0) + (x[1] - 2.0) * (x[1] - 2.0);
    });
    KrSearchReport const report = search.run(f);
    EXPECT_GE(report.failures(), failures);  // some were asked for again
    EXPECT_GT(failures, 0U);
    EXPECT_LE(half.evaluate(values(report.bestPoint())), 0.0);
    EXPECT_NEAR(report.bestValue(), 4.5, 0.05);

    // Where nothing has a value, a search ends soon.
    CapturedMessages const captured;
    KrSearchReport const hopeless =
        search.run(KrCallableFunction(2, [](KrRealVector const&) { return nan; }));
    EXPECT_EQ(hopeless.reasonText(), "failed");
    EXPECT_EQ(hopeless.evaluations(), 5U);
}

// A batch that fails says nothing of its single points.
TEST(Search, EvaluatesThePointsOfAFailedBatchAlone) {
    auto const value = [](KrRealVector const& x) {
        return x[0] > 1.2 ? throw KrEvaluationFailure("too large") : std::hypot(x[0], x[1]);
    };
    struct Failing : KrCallableFunction<decltype(value)> {
        using KrCallableFunction::KrCallableFunction;
        void evaluateMultiple(std::vector<KrRealVector> const& points,
                              KrRealVector& values) const override {
            KrScalarMultivariableFunction::evaluateMultiple(points, values);
        }
    };
    KrU32 failures = 0;
    for (std::string const& optimizer : everyOptimizer(60)) {
        for (bool const remember : {false, true}) {
            KrSearch search = searchOf(optimizer, {1.0, 2.0});
            search.setRemember(remember);
            KrSearchReport const batches = search.run(Failing(2, value));
            KrSearchReport const single = search.run(KrCallableFunction(2, value));
            failures += single.failures();
            EXPECT_EQ(batches.failures(), single.failures());
            EXPECT_EQ(batches.answerPoint(), single.answerPoint());
        }
    }
    EXPECT_GT(failures, 20U);
}

TEST(Search, RefusesBadInputBeforeTheFirstEvaluation) {
    KrSearch const good = searchOf(everyOptimizer(10)[0], {1.0, 2.0});
    KrLinearMultivariableConstraint far;
    far.setCoefficient(2, 1.0);
    KrMultivariableConstraintVector constraints;
    constraints.pushBack(far);
    auto const with = [&](auto change) {
        KrSearch search = good;
        change(search);
        return search;
    };
    auto const variable = [&](KrSearchVariable const& v) {
        return with([&](KrSearch& search) {
            KrSearchVariableVector variables = good.variables();
            variables.exchange(0, v);
            search.setVariables(variables);
        });
    };
    struct Case {
        KrSearch search;
        std::string expected;
    };
    Case const cases[] = {
        {with([](KrSearch& s) { s.setVariables({}); }), "variables: expected at least one"},
        {with([](KrSearch& s) {
             s = KrSearch();
             s.addVariable("a", 1.0);
             s.addVariable("b", 1.0);
         }),
         "optimizer: expected an optimizer, found none"},
        {variable({"a", 0.0, 1.0, 0.5}), "variable \"a\": lower: expected at most the upper bound"},
        {variable({"a", nan}), "variable \"a\": start: expected a finite number, found NaN"},
        {variable({"a", 0.0, -1.0, 1.0, 0.0}), "variable \"a\": scale: expected"},
        {variable({"x1", 0.0}), "variable \"x1\": name: expected a name of its own"},
        {variable({"a b", 0.0}), "variable \"a b\": name: expected letters"},
        {with([&](KrSearch& s) { s.setConstraints(constraints); }),
         "constraint 0: firstOrderIndices: expected indices below 2, found 2"},
        {with([](KrSearch& s) { s.setConstraintWeight(-1.0); }), "constraintWeight: expected"},
    };
    for (Case const& c : cases) {
        CapturedMessages const captured;
        KrU32 count = 0;
        KrSearchReport const report =
            c.search.run(KrCallableFunction(2, [&](KrRealVector const&) { return ++count; }));
        EXPECT_EQ(report.reasonText(), "failed");
        EXPECT_EQ(count, 0U);
        EXPECT_NE(captured.text().find("search: " + c.expected), std::string::npos)
            << captured.text();
    }
}

}  // namespace
