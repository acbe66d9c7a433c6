// Several evaluations at once: the answer of a search, and what it asks for, do not depend on the
// workers, on who finishes first, or on what was predicted.

#include "function/multivariable/KrCallableFunction.h"
#include "search/KrAskTell.h"
#include "search/KrCallingThread.h"
#include "search/KrEvaluationRecord.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Evaluates in an order of chance, some at a time, and can act before an evaluation.
class Shuffled : public KrEvaluationWorkers {
public:
    Shuffled(KrScalarMultivariableFunction const& f, KrU32 count) : f_(f), count_(count) {}

    KrU32 count() const override { return count_; }
    void start(std::span<KrEvaluationRequest const> requests) override {
        EXPECT_TRUE(requests.empty() || !stop_.stop_requested());
        waiting.insert(waiting.end(), requests.begin(), requests.end());
    }
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
        bool const isLate = until < std::chrono::steady_clock::now();
        stop_ = stop;
        if (waiting.empty() || stop.stop_requested() || (isLate && !isCancelled && random_() % 3)) {
            return false;
        }
        for (std::size_t left = 1 + random_() % count_; left > 0 && !waiting.empty(); --left) {
            std::size_t const i = random_() % std::min<std::size_t>(waiting.size(), count_);
            KrEvaluation evaluation;
            evaluation.outcome = KrEvaluation::Outcome::Cancelled;
            if (!isCancelled) {
                evaluation = KrCallingThread::evaluate(f_, waiting[i].point);
                evaluation.seconds = 1.0;
            }
            evaluation.ticket = waiting[i].ticket;
            all.push_back(evaluation);
            waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(i));
        }
        isCancelled = isCancelled && !waiting.empty();
        return true;
    }
    void cancel() override { isCancelled = !waiting.empty(); }

    std::vector<KrEvaluationRequest> waiting;
    bool isCancelled = false;

private:
    KrScalarMultivariableFunction const& f_;
    KrU32 const count_;
    std::minstd_rand random_;
    std::stop_token stop_;
};

// Its bits: 0 and -0 are two points.
std::string text(KrRealVector const& x) {
    std::ostringstream line;
    for (double const component : x) {
        line << ' ' << std::hexfloat << component;
    }
    return line.str();
}

// What the search asked for, as bits in a text.
struct Asked : KrSearchObserver {
    void evaluated(KrSearchProgress const& progress) override {
        std::ostringstream line;
        line << std::hexfloat << progress.evaluation << ' ' << progress.value << ' '
             << progress.failed << ' ' << progress.bestValue << text(progress.point);
        lines.push_back(line.str());
        sources += progress.isFromRecord ? 'r' : 'e';
    }
    std::vector<std::string> lines;
    std::string sources;
};

double formula(KrRealVector const& x) {
    if (x[0] > 3.4) {
        throw KrEvaluationFailure("too large");
    }
    return x[1] < -1.3 ? nan : std::abs(x[0] - 1.0) + (x[0] + x[1]) * (x[0] + x[1]) + 0.1 * x[1];
}

// With a chain's second search, batches, bounds, constraints, failures and values in both
// directions.
std::vector<KrSearch> searches() {
    std::vector<KrSearch> all;
    for (std::string const& optimizer : everyOptimizer(80)) {
        for (int const kind : {0, 1, 2, 3, 4}) {
            KrSearch search = searchOf(optimizer, {3.0, -1.0});
            if (kind == 1 || kind == 4) {
                search = KrSearch();
                search.addVariable("a", 3.0, kind == 1 ? -infinity : 1.5, 3.2, 0.5);
                search.addVariable("b", -1.0, -1.5, infinity, 2.0);
                search.setOptimizer(*searchOf(optimizer, {}).optimizer().topElement());
                search.setMaxEvaluations(70);
            }
            search.setRemember(kind != 2 && kind != 4);
            search.setMaximise(kind == 3);
            search.setTargetValue(kind == 2 ? 0.3 : nan);
            search.setStallEvaluations(kind == 0 ? 25 : 0);
            all.push_back(search);
        }
    }
    return all;
}

TEST(Ahead, TheAnswerDoesNotDependOnTheWorkers) {
    KrCallableFunction const f(2, formula);
    std::size_t speculated = 0;
    for (KrSearch const& search : searches()) {
        Asked expected;
        KrSearchReport const report = search.run(f, {.observer = &expected});
        for (KrU32 const count : {1, 3, 8}) {
            Shuffled workers(f, count);
            Asked asked;
            KrEvaluationRecord record;
            KrSearchReport const other =
                search.run(workers, {.observer = &asked, .record = &record});
            EXPECT_EQ(asked.lines, expected.lines);
            EXPECT_EQ(asked.sources, expected.sources);
            EXPECT_EQ(other.reasonText(), report.reasonText());
            EXPECT_EQ(other.failures(), report.failures());
            EXPECT_EQ(other.answerPoint(), report.answerPoint());
            EXPECT_TRUE(workers.waiting.empty());
            EXPECT_EQ(record.verify(), "same");
            EXPECT_EQ(record.entries().size(), other.evaluationsMade());
            speculated += count == 1 ? 0 : other.evaluationsSpeculated();
        }
    }
    EXPECT_GT(speculated, 1000U);
}

// At any evaluation, and resumed: nothing that finished is made again.
TEST(Ahead, AStoppedSearchResumesWithTheSameBits) {
    for (KrSearch const& search : searches()) {
        Asked expected;
        KrSearchReport const whole =
            search.run(KrCallableFunction(2, formula), {.observer = &expected});
        for (KrU32 last = 1; last < 40; last += 6) {
            KrEvaluationRecord record;
            std::stop_source source;
            std::set<std::string> points;
            KrCallableFunction const f(2, [&](KrRealVector const& x) {
                EXPECT_TRUE(points.insert(text(x)).second || !search.remember());
                return formula(x);
            });
            KrU32 calls = 0;
            KrCallableFunction const stopping(2, [&](KrRealVector const& x) {
                if (++calls == last) {
                    source.request_stop();
                }
                return f.evaluate(x);
            });
            Shuffled first(stopping, 5);
            search.run(first, {.record = &record, .stop = source.get_token()});
            EXPECT_TRUE(first.waiting.empty());
            ASSERT_EQ(record.entries().size(), calls);
            Shuffled second(f, 4);
            Asked asked;
            KrSearchReport const report =
                search.run(second, {.observer = &asked, .record = &record});
            EXPECT_EQ(asked.lines, expected.lines);
            EXPECT_EQ(text({report.answer()}), text({whole.answer()}));
            EXPECT_EQ(record.entries().size(), calls + report.evaluationsMade());
            EXPECT_EQ(record.verify(), "same");
        }
    }
}

TEST(Ahead, AnExceptionPassesWhenTheSearchAsksForItsPoint) {
    for (KrSearch const& search : searches()) {
        for (double const edge : {2.4, 2.0, 1.1}) {
            KrCallableFunction const f(2, [&](KrRealVector const& x) {
                return x[0] < edge ? throw std::logic_error("of the client") : formula(x);
            });
            Asked expected;
            std::string plain;
            try {
                search.run(f, {.observer = &expected});
            } catch (std::logic_error const& error) {
                plain = error.what();
            }
            std::set<std::string> points;
            KrCallableFunction const once(2, [&](KrRealVector const& x) {
                EXPECT_TRUE(points.insert(text(x)).second || !search.remember());
                return f.evaluate(x);
            });
            Shuffled workers(once, 6);
            Asked asked;
            std::string found;
            KrSearchReport report;
            try {
                search.run(workers, {.observer = &asked, .report = &report});
            } catch (std::logic_error const& error) {
                found = error.what();
            }
            EXPECT_EQ(found, plain);
            EXPECT_EQ(asked.lines, expected.lines);
            EXPECT_EQ(report.evaluations(), expected.lines.size());
            EXPECT_TRUE(workers.waiting.empty());
        }
    }
}

// A point that only workers have asked for may not be possible to evaluate.
TEST(Ahead, WhatOnlyWorkersAskedForMayBreak) {
    struct Breaking : Shuffled {
        using Shuffled::Shuffled;
        void start(std::span<KrEvaluationRequest const> requests) override {
            for (KrEvaluationRequest const& request : requests) {
                points[request.ticket] = text(request.point);
            }
            Shuffled::start(requests);
        }
        bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
            bool const isAny = Shuffled::finish(all, until, stop);
            for (KrEvaluation& evaluation : all) {
                bool const isAsked = asked.contains(points[evaluation.ticket]);
                if (!isAsked && evaluation.outcome != Outcome::Cancelled) {
                    evaluation.outcome = Outcome::Broken;
                    ++broken;
                }
            }
            return isAny;
        }
        using Outcome = KrEvaluation::Outcome;
        std::map<std::uint64_t, std::string> points;
        std::set<std::string> asked;
        int broken = 0;
    };
    KrCallableFunction const f(2, formula);
    int broken = 0;
    for (KrSearch const& search : searches()) {
        Asked expected;
        KrSearchReport const report = search.run(f, {.observer = &expected});
        Breaking workers(f, 4);
        for (std::string const& line : expected.lines) {
            std::istringstream words(line);
            std::string word;
            for (int i = 0; i < 4; ++i) {
                words >> word;
            }
            std::getline(words, word);
            workers.asked.insert(word);
        }
        Asked asked;
        EXPECT_EQ(search.run(workers, {.observer = &asked}).reason(), report.reason());
        EXPECT_EQ(asked.lines, expected.lines);
        broken += workers.broken;
    }
    EXPECT_GT(broken, 0);
}

// Ends at a point that it did not ask for, but might have. If a value is a prediction, its next
// point has another length.
KrToken const wanderingToken("urn:zeibreku:tests#wandering");
class Wandering : public KrElement<Wandering, KrScalarMultivariableOptimizer, wanderingToken> {
public:
    double findMinimum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                       KrRealVector& result) const override {
        KrRealVector x = start;
        double value = f.evaluate(x);
        for (double step = 1.0; step <= start[1]; ++step) {
            result = {x[0] - step, step};
            x = {x[0] + 2.0 * step, step};
            if (value < 0.0) {
                std::swap(x, result);
            }
            if (std::abs(value) < 1.0) {
                x.push_back(step);
            }
            value = f.evaluate(x);
        }
        return value;
    }
    double findMaximum(KrScalarMultivariableFunction const& f, KrRealVector const& start,
                       KrRealVector& result) const override {
        return findMinimum(f, start, result);
    }
};

TEST(Ahead, WhatOnlyWorkersAskedForIsNoAnswer) {
    KrCallableFunction const f(2, [](KrRealVector const& x) {
        EXPECT_EQ(x.size(), 2U);
        double const value = 1.0 + std::abs(x[0]) / 1024.0;
        return std::sin(x[0] * 17.0) < 0.0 ? -value : value;
    });
    std::size_t speculated = 0;
    for (bool const remembers : {false, true}) {
        for (double steps = 1.0; steps < 40.0; ++steps) {
            KrSearch search = searchOf(everyOptimizer(1)[0], {0.5, steps});
            search.setOptimizer(Wandering());
            search.setRemember(remembers);
            Shuffled workers(f, 6);
            KrSearchReport const report = search.run(workers);
            EXPECT_EQ(report.answer(), search.run(f).answer());
            speculated += report.evaluationsSpeculated();
        }
    }
    EXPECT_GT(speculated, 100U);
}

// On a quadratic function predictions are right, so that eight workers are worth more than five.
TEST(Ahead, RightPredictionsSaveRounds) {
    struct Rounds : KrCallingThread {
        using KrCallingThread::KrCallingThread;
        KrU32 count() const override { return 8; }
        KrScalarMultivariableFunction const* directFunction() const override { return nullptr; }
        bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
            if (!KrCallingThread::finish(all, until, stop)) {
                return false;
            }
            for (int others = 7; others > 0 && KrCallingThread::finish(all, until, stop);) {
                --others;
            }
            for (KrEvaluation& evaluation : all) {
                evaluation.seconds = 10.0;
            }
            ++rounds;
            return true;
        }
        KrU32 rounds = 0;
    };
    KrCallableFunction const f(3, [](KrRealVector const& x) {
        return x[0] * x[0] + 3.0 * x[1] * x[1] + (x[2] - x[0]) * (x[2] - x[0]);
    });
    for (std::string const& optimizer : everyOptimizer(150)) {
        KrSearch const search = searchOf(optimizer, {3.0, -1.0, 0.5});
        Rounds workers(f);
        search.run(workers);
        EXPECT_LT(5 * workers.rounds, search.run(f).evaluationsMade()) << optimizer;
    }
}

// The reason is the evaluation that cannot be made, not those that are cancelled for it.
TEST(Ahead, AnEvaluationThatCannotBeMadeEndsTheSearch) {
    struct Breaking : KrEvaluationWorkers {
        KrU32 count() const override { return 3; }
        void start(std::span<KrEvaluationRequest const> requests) override {
            waiting.insert(waiting.end(), requests.begin(), requests.end());
        }
        bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token) override {
            if (waiting.empty() || until < std::chrono::steady_clock::now()) {
                return false;
            }
            KrEvaluation& evaluation = all.emplace_back();  // the last one first
            evaluation.ticket = waiting.back().ticket;
            evaluation.outcome =
                isCancelled ? KrEvaluation::Outcome::Cancelled : KrEvaluation::Outcome::Broken;
            evaluation.text = "no program";
            waiting.pop_back();
            return true;
        }
        void cancel() override { isCancelled = true; }
        std::vector<KrEvaluationRequest> waiting;
        bool isCancelled = false;
    };
    for (std::string const& optimizer : everyOptimizer(80)) {
        Breaking workers;
        CapturedMessages const captured;
        KrSearchReport const report = searchOf(optimizer, {3.0, -1.0}).run(workers);
        EXPECT_EQ(report.reason(), KrSearchReason::Failed);
        EXPECT_EQ(captured.messages.size(), 1U);
        EXPECT_TRUE(workers.waiting.empty());
    }
}

// The exception passes, nothing is left under way, and the object can be used again.
TEST(Ahead, WorkersThatThrowEndTheSearch) {
    struct Throwing : Shuffled {
        using Shuffled::Shuffled;
        bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override {
            if (left != 0 && --left == 0) {
                throw std::runtime_error("of the workers");
            }
            return Shuffled::finish(all, until, stop);
        }
        int left = 0;
    };
    KrCallableFunction const f(2, formula);
    for (KrSearch const& search : searches()) {
        std::string const expected = search.run(f).reasonText();
        Throwing workers(f, 5);
        for (int const moment : {1, 2, 4}) {
            workers.left = moment;
            KrSearchReport report;
            EXPECT_THROW(search.run(workers, {.report = &report}), std::runtime_error);
            EXPECT_EQ(report.reason(), KrSearchReason::Failed);
            EXPECT_TRUE(workers.waiting.empty());
        }
        workers.left = 0;
        EXPECT_EQ(search.run(workers).reasonText(), expected);
    }
}

// Also a search without memory makes no evaluation for a prediction that it has the value of.
TEST(Ahead, PointsOfABatchAreNotMadeTwice) {
    std::multiset<std::string> points;
    KrCallableFunction const f(6, [&](KrRealVector const& x) {
        points.insert(text(x));
        return std::hypot(x[0] - 1.0, x[3], x[5]) + x[1] * x[1] + x[2] * x[2] + std::abs(x[4]);
    });
    auto const repeats = [&] {
        std::size_t const all = points.size();
        std::size_t const different = std::set<std::string>(points.begin(), points.end()).size();
        points.clear();
        return all - different;
    };
    KrSearch search = searchOf(everyOptimizer(300)[3], {3.0, -1.0, 2.0, 0.5, 1.0, 4.0});
    search.setRemember(false);
    search.run(f);
    std::size_t const its = repeats();
    Shuffled workers(f, 4);
    search.run(workers);
    EXPECT_LE(repeats(), 2 * its);
}

// Where predictions are worth nothing, or take long.
TEST(Ahead, StrangeValuesDoNotStopIt) {
    for (std::string const& optimizer : everyOptimizer(3000)) {
        for (double const factor : {0.0, 1e300, 1e-300, infinity}) {
            KrCallableFunction const f(12, [&](KrRealVector const& x) {
                double sum = 0.0;
                for (double const component : x) {
                    sum += component * component;
                }
                return sum < 11.0 ? -sum * factor : sum * factor;
            });
            KrSearch search = searchOf(optimizer, KrRealVector(12, 1.0));
            search.setMaxEvaluations(600);
            CapturedMessages const captured;
            Shuffled workers(f, 7);
            Asked expected;
            Asked asked;
            search.run(f, {.observer = &expected});
            search.run(workers, {.observer = &asked});
            EXPECT_EQ(asked.lines, expected.lines);
        }
    }
}

}  // namespace
