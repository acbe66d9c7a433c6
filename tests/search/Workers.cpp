// Threads evaluate for a search and for an optimizer. However many there are, the bits are those of
// the calling thread. No test depends on time: functions wait for each other.

#include "foundation/math/KrRandomScope.h"
#include "foundation/math/KrRandomStream.h"
#include "function/multivariable/KrCallableFunction.h"
#include "search/KrCallingThread.h"
#include "search/KrParallelFunction.h"
#include "search/KrThreadWorkers.h"
#include "support/MoreWild.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <bit>
#include <latch>
#include <map>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

using Functions = std::vector<KrScalarMultivariableFunction const*>;
using Outcome = KrEvaluation::Outcome;

constexpr auto noLimit = KrEvaluationWorkers::Time::max();

// At 0, 1, ..., with these tickets.
std::vector<KrEvaluationRequest> requests(std::size_t count) {
    std::vector<KrEvaluationRequest> all;
    for (std::size_t i = 0; i < count; ++i) {
        all.push_back({i, {static_cast<double>(i)}});
    }
    return all;
}

// The outcomes of all that comes back, by tickets.
std::vector<Outcome> outcomes(KrEvaluationWorkers& workers) {
    std::vector<KrEvaluation> all;
    while (workers.finish(all, noLimit, {})) {
    }
    std::vector<Outcome> result(all.size());
    for (KrEvaluation const& evaluation : all) {
        result.at(evaluation.ticket) = evaluation.outcome;
    }
    return result;
}

std::vector<Outcome> outcomes(KrThreadWorkers& workers, std::size_t count) {
    workers.start(requests(count));
    return outcomes(workers);
}

// The points and values of a search in its order, and its answer.
struct Sequence : KrSearchObserver {
    Sequence(KrSearch const& search, KrEvaluationWorkers& workers) {
        KrSearchReport const report = search.run(workers, {.observer = this});
        EXPECT_EQ(report.reasonText(), "finished");
        add(report.answer());
    }
    void evaluated(KrSearchProgress const& progress) override {
        std::ranges::for_each(progress.point, [this](double x) { add(x); });
        add(progress.value);
    }
    void add(double number) { bits.push_back(std::bit_cast<std::uint64_t>(number)); }
    bool operator==(Sequence const& other) const { return bits == other.bits; }

    std::vector<std::uint64_t> bits;
};

// While it exists, the system refuses to start threads: their stacks would be too large.
class NoThreads {
public:
    NoThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge = before_;
        pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
        pthread_setattr_default_np(&huge);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    NoThreads(NoThreads const&) = delete;
    NoThreads& operator=(NoThreads const&) = delete;

private:
    pthread_attr_t before_;
};

// With a function for each thread no evaluation is made on the calling one, however short it is.
TEST(Workers, FindTheBitsOfTheCallingThread) {
    for (std::size_t i = 0; i < std::size(MoreWild::problems); i += 9) {
        auto const& problem = MoreWild::problems[i];
        KrCallableFunction const f(problem.n, [&problem](KrRealVector const& x) {
            return MoreWild::Function(problem, MoreWild::Variant::smooth).evaluate(x);
        });
        KrCallingThread alone(f);
        for (std::string const& optimizer : everyOptimizer(80)) {
            KrSearch const search = searchOf(optimizer, problem.start());
            Sequence const sequence(search, alone);
            auto const answerFor = [&](KrScalarMultivariableFunction const& function) {
                KrRandomStream stream(search.seed());
                KrRandomScope const scope(stream);
                KrSearch const fresh = searchOf(optimizer, problem.start());
                KrRealVector best;
                double const lowest =
                    fresh.optimizer().findMinimum(function, problem.start(), best);
                best.push_back(lowest);
                return best;
            };
            KrRealVector const answer = answerFor(f);
            for (KrU32 const count : {1, 3, 8}) {
                KrThreadWorkers onThreads(Functions(count, &f));
                KrThreadWorkers mixed(f, count);
                ASSERT_EQ(Sequence(search, onThreads), sequence) << optimizer << count;
                ASSERT_EQ(Sequence(search, mixed), sequence) << optimizer << count;
                ASSERT_EQ(answerFor(KrParallelFunction(f, count)), answer);
            }
        }
    }
}

TEST(Workers, CallEachFunctionOnAThreadOfItsOwn) {
    std::latch all(3);
    struct Noting : KrScalarMultivariableFunction {
        explicit Noting(std::latch& latch) : latch_(latch) {}
        double evaluate(KrRealVector const& x) const override {
            if (threads.insert(std::this_thread::get_id()).second) {
                latch_.arrive_and_wait();
            }
            return -x[0];
        }
        KrU32 domainDim() const override { return 1; }
        mutable std::set<std::thread::id> threads;
        std::latch& latch_;
    } const a(all), b(all), c(all);
    KrThreadWorkers workers({&a, &b, &c});
    EXPECT_EQ(workers.count(), 3);
    EXPECT_EQ(outcomes(workers, 100), std::vector<Outcome>(100));
    std::set<std::thread::id> ids{std::this_thread::get_id()};
    for (Noting const* const noting : {&a, &b, &c}) {
        EXPECT_EQ(noting->threads.size(), 1);
        ids.merge(noting->threads);
    }
    EXPECT_EQ(ids.size(), 4);
    EXPECT_THROW(KrThreadWorkers(Functions{}), std::invalid_argument);
    EXPECT_THROW(KrParallelFunction({&a, nullptr}), std::invalid_argument);
}

TEST(Workers, PassTheExceptionOfTheLowestIndexOn) {
    std::atomic<bool> isBad = true;
    KrCallableFunction const f(1, [&](KrRealVector const& x) {
        auto const i = static_cast<int>(x[0]);
        if (isBad && i == 5) {
            throw KrEvaluationFailure("no value");
        }
        if (isBad && (i == 3 || i == 6)) {
            throw int{i};
        }
        return -x[0];
    });
    using enum KrEvaluation::Outcome;
    KrThreadWorkers workers(f, 3);
    EXPECT_EQ(outcomes(workers, 8),
              (std::vector{Value, Value, Value, Exception, Value, Failure, Exception, Value}));
    std::vector<KrRealVector> points;
    for (KrEvaluationRequest const& request : requests(8)) {
        points.push_back(request.point);
    }
    KrParallelFunction const shared(f, 3);
    KrParallelFunction const own({&f, &f, &f});
    for (int i = 0; i < 50; ++i) {
        for (KrParallelFunction const* const parallel : {&shared, &own}) {
            KrRealVector values;
            isBad = true;
            try {
                parallel->evaluateMultiple(points, values);
                FAIL();
            } catch (int const number) {
                ASSERT_EQ(number, 3);
            }
            EXPECT_THROW(
                parallel->evaluateMultiple({points.begin() + 4, points.begin() + 6}, values),
                KrEvaluationFailure);
            isBad = false;
            parallel->evaluateMultiple(points, values);
            ASSERT_EQ(values, (KrRealVector{0, -1, -2, -3, -4, -5, -6, -7}));
        }
    }
}

// Nothing is under way when a stopped run returns, and the next run is whole.
TEST(Workers, StopAtAnyMoment) {
    std::atomic<KrU32> begun = 0;
    std::atomic<KrU32> ended = 0;
    std::atomic<KrU32> last = ~KrU32{0};
    std::stop_source source;
    KrCallableFunction const f(3, [&](KrRealVector const& x) {
        if (begun++ == last) {
            source.request_stop();
        }
        double const value = (x[0] - 1.0) * (x[0] - 1.0) + 4.0 * x[1] * x[1] + x[2] * x[2];
        ++ended;
        return value;
    });
    KrThreadWorkers workers({&f, &f, &f});
    for (std::string const& optimizer : everyOptimizer(40)) {
        KrSearch const search = searchOf(optimizer, {3.0, -1.0, 0.5});
        last = ~KrU32{0};
        Sequence const sequence(search, workers);
        begun = 0;
        KrU32 const all = search.run(workers).evaluationsMade();
        ASSERT_EQ(begun, all);
        for (KrU32 k = 0; k + 1 < all; ++k) {
            source = {};
            last = k;
            begun = 0;
            ended = 0;
            KrSearchReport const report = search.run(workers, {.stop = source.get_token()});
            ASSERT_EQ(begun, ended);
            ASSERT_GT(begun, k);
            ASSERT_EQ(report.evaluationsMade(), begun);
            ASSERT_TRUE(report.reason() == KrSearchReason::Cancelled || begun == all)
                << optimizer << k;
        }
        ASSERT_EQ(Sequence(search, workers), sequence);
    }
}

TEST(Workers, DropWhatHasNotBegun) {
    using enum KrEvaluation::Outcome;
    std::latch begun(1);
    std::latch released(1);
    std::stop_source source;
    KrCallableFunction const f(1, [&](KrRealVector const& x) {
        begun.count_down();
        source.request_stop();
        released.wait();
        return x[0];
    });
    KrThreadWorkers workers(f, 1);
    std::vector<KrEvaluation> all;
    EXPECT_FALSE(workers.finish(all, noLimit, {}));
    workers.start(requests(3));
    EXPECT_FALSE(workers.finish(all, KrEvaluationWorkers::Time::min(), {}));
    EXPECT_FALSE(workers.finish(all, noLimit, source.get_token()));
    begun.wait();
    workers.cancel();
    released.count_down();
    EXPECT_EQ(outcomes(workers), (std::vector{Value, Cancelled, Cancelled}));
    EXPECT_EQ(outcomes(workers, 2), (std::vector{Value, Value}));
}

TEST(Workers, AreDestroyedWithWorkWaiting) {
    std::atomic<bool> isLast = false;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    KrCallableFunction const f(1, [&](KrRealVector const& x) {
        ++begun;
        begun.notify_one();
        isLast.wait(false);
        ++ended;
        return x[0];
    });
    {
        KrThreadWorkers workers(f, 2);
        workers.start(requests(1000));
        begun.wait(0);
        isLast = true;
        isLast.notify_all();
    }
    EXPECT_EQ(begun, ended);
}

// --- Searches inside evaluations.

// Its value is the lowest of a parabola that is found by threads of its own.
double innerMinimum(KrRealVector const& x) {
    KrCallableFunction const f(1, [&](KrRealVector const& y) {
        return (y[0] - x[0]) * (y[0] - x[0]) + x[0] * x[0] + x[1] * x[1];
    });
    KrThreadWorkers workers({&f, &f});
    return searchOf(everyOptimizer(20).front(), {1.0}).run(workers).answer();
}

TEST(Workers, EvaluateSearchesOnWorkersOfTheirOwn) {
    KrCallableFunction const f(2, innerMinimum);
    KrSearch const search = searchOf(everyOptimizer(40)[3], {3.0, -1.0});
    KrCallingThread alone(f);
    KrThreadWorkers workers(f, 4);
    EXPECT_EQ(Sequence(search, workers), Sequence(search, alone));
}

TEST(Workers, RefuseASecondUserMeanwhile) {
    CapturedMessages const messages;
    KrSearch const search = searchOf(everyOptimizer(20).front(), {1.0});
    KrThreadWorkers* used = nullptr;
    std::atomic<int> refused = 0;
    KrCallableFunction const f(1, [&](KrRealVector const& x) {
        KrSearchReport report;
        std::thread other([&] { report = search.run(*used); });
        refused += search.run(*used).reason() == KrSearchReason::Failed ? 1 : 0;
        other.join();
        refused += report.reason() == KrSearchReason::Failed ? 1 : 0;
        return x[0];
    });
    KrThreadWorkers workers(f, 3);
    used = &workers;
    EXPECT_EQ(outcomes(workers, 10), std::vector<Outcome>(10));
    EXPECT_EQ(refused, 20);
    EXPECT_NE(messages.text().find("workers: expected an object that is not in use"),
              std::string::npos);

    struct Searching : KrSearchObserver {
        void evaluated(KrSearchProgress const&) override {
            refused += search->run(*workers).reason() == KrSearchReason::Failed ? 1 : 0;
        }
        KrSearch const* search = nullptr;
        KrEvaluationWorkers* workers = nullptr;
        KrU32 refused = 0;
    } observer;
    KrCallableFunction const square(1, [](KrRealVector const& x) { return x[0] * x[0]; });
    KrThreadWorkers threads({&square, &square});
    observer.search = &search;
    observer.workers = &threads;
    KrSearchReport const observed = search.run(threads, {.observer = &observer});
    EXPECT_EQ(observed.answerPoint(), search.run(threads).answerPoint());
    EXPECT_EQ(observer.refused, observed.evaluations());

    KrParallelFunction const* calling = nullptr;
    KrCallableFunction const g(1, [&](KrRealVector const& x) { return calling->evaluate(x); });
    KrParallelFunction const parallel(g, 3);
    calling = &parallel;
    KrRealVector values;
    EXPECT_THROW(parallel.evaluate({1.0}), std::logic_error);
    EXPECT_THROW(parallel.evaluateMultiple({{1.0}, {2.0}}, values), std::logic_error);
}

// --- What is missing.

TEST(Workers, GoOnWithTheThreadsThereAre) {
    CapturedMessages const messages;
    std::map<std::thread::id, int> calls;
    KrThreadWorkers* used = nullptr;
    KrCallableFunction const f(1, [&](KrRealVector const& x) {
        ++calls[std::this_thread::get_id()];
        used->start(requests(1));  // refused on the calling thread too
        EXPECT_EQ(outcomes(*used), std::vector{Outcome::Broken});
        return x[0];
    });
    for (std::size_t const threads : {0, 1}) {
        KrThreadWorkers workers({&f, &f, &f});
        used = &workers;
        EXPECT_EQ(outcomes(workers, threads), std::vector<Outcome>(threads));
        NoThreads const none;
        calls.clear();
        EXPECT_EQ(outcomes(workers, 20), std::vector<Outcome>(20));
        EXPECT_EQ(calls.size(), 1);
        EXPECT_EQ(calls.count(std::this_thread::get_id()), 1 - threads);
        EXPECT_EQ(messages.messages.size(), threads + 1);
    }
    NoThreads const none;
    calls.clear();
    KrCallableFunction const bad(1, [&](KrRealVector const&) -> double {
        ++calls[std::this_thread::get_id()];
        throw 1;
    });
    KrRealVector values;
    EXPECT_THROW(KrParallelFunction(bad, 3).evaluateMultiple({{1.0}, {2.0}}, values), int);
    EXPECT_EQ(calls[std::this_thread::get_id()], 1);
}

TEST(Workers, RefuseAPointOfAnotherLength) {
    CapturedMessages const messages;
    KrCallableFunction const f(2, [](KrRealVector const& x) { return x[0] * x[0] + x[1] * x[1]; });
    KrThreadWorkers workers(f);
    KrSearchReport const report = searchOf(everyOptimizer(20).front(), {1.0}).run(workers);
    EXPECT_EQ(report.reason(), KrSearchReason::Failed);
    EXPECT_NE(messages.text().find("expected 2 coordinates, as many as the function has, found 1"),
              std::string::npos);
}

}  // namespace
