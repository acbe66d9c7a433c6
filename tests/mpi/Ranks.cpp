// The ranks of MPI evaluate for rank 0. Each rank runs each test.

#include "function/multivariable/KrCallableFunction.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "mpi/KrMpiWorkers.h"
#include "search/KrCommandWorkers.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/Bits.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using Outcome = KrEvaluation::Outcome;

constexpr auto noLimit = KrEvaluationWorkers::Time::max();
KrRealVector const start{3, -1, 0, 1};

// Fails in a part of its domain.
struct Quartic : KrPowellsQuarticFunction {
    double evaluate(KrRealVector const& x) const override {
        ++calls;
        if (x[0] < 1.5 && x[1] > -0.5) {
            throw KrEvaluationFailure("no convergence");
        }
        return KrPowellsQuarticFunction::evaluate(x);
    }
    mutable int calls = 0;
};

// What a search finds, wherever its evaluations are made.
std::vector<std::uint64_t> found(KrSearchReport const& report) {
    KrRealVector all = values(report.bestPoint());
    all.insert(all.end(), report.answerPoint().begin(), report.answerPoint().end());
    all.insert(all.end(), {report.bestValue(), report.answer(), 1.0 * report.evaluations(),
                           1.0 * report.failures()});
    return bits(all);
}

// As many requests, with tickets that need 64 bits.
std::vector<KrEvaluationRequest> requests(std::size_t count, KrRealVector const& point) {
    std::vector<KrEvaluationRequest> result;
    for (std::uint64_t i = 0; i < count; ++i) {
        result.push_back({~i, point});
    }
    return result;
}

std::vector<KrEvaluation> finished(KrEvaluationWorkers& workers) {
    std::vector<KrEvaluation> all;
    while (workers.finish(all, noLimit, {})) {
    }
    return all;
}

// How many of the requests came back. A wrong or repeated ticket does not count.
std::size_t tickets(std::vector<KrEvaluation> const& all) {
    std::set<std::uint64_t> different;
    for (KrEvaluation const& evaluation : all) {
        if (~evaluation.ticket < all.size()) {
            different.insert(evaluation.ticket);
        }
    }
    return different.size();
}

// Before the first test of the ranks, which initializes MPI.
TEST(NoRanks, OneProcessEvaluatesWithoutMpi) {
    CapturedMessages const messages;
    Quartic const f;
    KrMpiWorkers workers(MPI_COMM_WORLD, f);
    EXPECT_FALSE(workers.serve());
    EXPECT_EQ(workers.directFunction(), &f);
    EXPECT_EQ(messages.messages.size(), 1u);
    EXPECT_NE(messages.text().find("MPI is not initialized"), std::string::npos);
    KrSearch const search = searchOf(everyOptimizer(50).front(), start);
    EXPECT_EQ(found(search.run(workers)), found(search.run(f)));
}

class Ranks : public testing::Test {
protected:
    static void SetUpTestSuite() {
        MPI_Init(nullptr, nullptr);
        MPI_Comm_size(MPI_COMM_WORLD, &count_);
    }
    static void TearDownTestSuite() { MPI_Finalize(); }
    // No rank is left behind.
    void TearDown() override { MPI_Barrier(MPI_COMM_WORLD); }

    static bool isAlone() { return count_ == 1; }
    static inline int count_ = 0;

    CapturedMessages messages_;
};

TEST_F(Ranks, FindTheBitsOfOneProcess) {
    Quartic const f;
    KrMpiWorkers workers(MPI_COMM_WORLD, f);
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    if (rank != 0) {
        KrSearch const search = searchOf(everyOptimizer(150).front(), start);
        EXPECT_EQ(search.run(workers).reason(), KrSearchReason::Failed);
    }
    if (workers.serve()) {
        EXPECT_GT(f.calls, 0);
        return;
    }
    EXPECT_EQ(workers.count(), isAlone() ? 1 : static_cast<KrU32>(count_ - 1));
    EXPECT_EQ(messages_.messages.size(), isAlone() ? 1u : 0u);
    for (std::string const& optimizer : everyOptimizer(150)) {
        KrSearch const search = searchOf(optimizer, start);
        EXPECT_EQ(found(search.run(workers)), found(search.run(Quartic()))) << optimizer;
    }
    EXPECT_EQ(f.calls > 0, isAlone());
}

TEST_F(Ranks, EvaluateAloneOnACommunicatorOfTheirOwn) {
    Quartic const f;
    KrMpiWorkers workers(MPI_COMM_SELF, f);
    EXPECT_FALSE(workers.serve());
    EXPECT_NE(messages_.text().find("at least 2 ranks, found 1 ("), std::string::npos);
    workers.start(requests(3, start));
    workers.cancel();
    EXPECT_EQ(tickets(finished(workers)), 3u);
}

TEST_F(Ranks, PassOnExceptionsWithTheirText) {
    std::string const text(1'000'000, 'x');
    KrCallableFunction const f(4, [&](KrRealVector const& x) -> double {
        if (x == start) {
            return 1.0;
        }
        if (x[0] > 3.0) {
            throw std::domain_error(text);
        }
        throw 7;
    });
    KrMpiWorkers workers(MPI_COMM_WORLD, f);
    if (workers.serve() || isAlone()) {
        return;
    }
    for (int i = 0; i < 2; ++i) {
        try {
            searchOf(everyOptimizer(50).front(), start).run(workers);
            ADD_FAILURE() << "nothing was thrown";
        } catch (std::runtime_error const& error) {
            EXPECT_EQ(error.what(), text);
        }
    }
    workers.start(requests(1, {2, 2, 2, 2}));
    EXPECT_THROW(std::rethrow_exception(finished(workers).at(0).exception), std::runtime_error);
}

TEST_F(Ranks, LeaveWhileAnExceptionUnwinds) {
    Quartic const f;
    try {
        KrMpiWorkers workers(MPI_COMM_WORLD, f);
        if (!workers.serve()) {
            workers.start(requests(100, start));
            throw std::runtime_error("of rank 0");
        }
    } catch (std::runtime_error const& error) {
        EXPECT_STREQ(error.what(), "of rank 0");
    }
}

TEST_F(Ranks, TakePointsOfAnyLength) {
    KrRealVector const point(300'000, 1.0 / 3.0);
    KrCallableFunction const f(static_cast<KrU32>(point.size()),
                               [&](KrRealVector const& x) { return x == point ? -0.0 : 1.0; });
    KrMpiWorkers workers(MPI_COMM_WORLD, f);
    if (workers.serve() || isAlone()) {
        return;
    }
    auto list = requests(10, point);
    list.front().point.pop_back();
    workers.start(list);
    std::vector<KrEvaluation> const all = finished(workers);
    EXPECT_EQ(tickets(all), 10u);
    for (KrEvaluation const& evaluation : all) {
        bool const isShort = evaluation.ticket == list.front().ticket;
        EXPECT_EQ(evaluation.outcome, isShort ? Outcome::Broken : Outcome::Value);
        EXPECT_TRUE(isShort || bits(evaluation.value) == bits(-0.0));
    }
}

TEST_F(Ranks, EndTheirCommands) {
    KrCommandWorkers commands({"sh", "-c", "test {x} = 0 && exec sleep 600; exit {x}"}, 1, {"x"});
    KrMpiWorkers workers(MPI_COMM_WORLD, commands);
    if (workers.serve() || isAlone()) {
        return;
    }
    std::size_t const count = workers.count();
    std::stop_source stopped;
    stopped.request_stop();
    workers.start(requests(count + 5, {0}));
    std::vector<KrEvaluation> all;
    EXPECT_FALSE(workers.finish(all, KrEvaluationWorkers::Time::min(), {}));
    EXPECT_FALSE(workers.finish(all, noLimit, stopped.get_token()));
    workers.cancel();
    all = finished(workers);
    EXPECT_EQ(tickets(all), count + 5);
    std::set<KrU32> used;
    for (KrEvaluation const& evaluation : all) {
        EXPECT_EQ(evaluation.outcome, Outcome::Cancelled);
        used.insert(evaluation.worker);
    }
    EXPECT_EQ(used.size(), count) << "one number for each rank";
    EXPECT_EQ(*used.rbegin(), count - 1);
    workers.start(requests(1, {3}));
    KrEvaluation const failed = finished(workers).at(0);
    EXPECT_EQ(failed.outcome, Outcome::Failure);
    EXPECT_EQ(failed.text, "exit status 3");
    EXPECT_GT(failed.seconds, 0.0);
    workers.start(requests(2 * count, {0}));  // which the destructor ends
}

}  // namespace
