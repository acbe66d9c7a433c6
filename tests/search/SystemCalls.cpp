// The system calls of a recorded search, counted where the library calls the C library.

#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "search/KrEvaluationRecord.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <utility>

namespace {

std::atomic<int> writes = 0;  // other tests write on several threads
std::atomic<int> syncs = 0;

}  // namespace

// These take the place of the C library's in this program.
extern "C" ssize_t write(int descriptor, void const* data, std::size_t size) {
    ++writes;
    return syscall(SYS_write, descriptor, data, size);
}
extern "C" int fdatasync(int descriptor) {
    ++syncs;
    return static_cast<int>(syscall(SYS_fdatasync, descriptor));
}

namespace {

// Gets whole batches, since the member is its own.
struct Sphere : KrScalarMultivariableFunction {
    double evaluate(KrRealVector const& x) const override { return x[0] * x[0] + x[1] * x[1]; }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        KrScalarMultivariableFunction::evaluateMultiple(points, values);
    }
    KrU32 domainDim() const override { return 2; }
};

// The `write` and `fdatasync` of a search of so many evaluations.
std::pair<int, int> callsOf(std::string const& optimizer, KrU32 evaluations, double durableAfter) {
    Sphere const f;
    TemporaryFolder const folder;
    KrEvaluationRecord record(folder / "record");
    record.setDurableAfter(durableAfter);
    KrSearch search = searchOf(optimizer, {3.0, -1.0});
    search.setMaxEvaluations(evaluations);
    writes = 0;
    syncs = 0;
    EXPECT_EQ(search.run(f, {.record = &record}).evaluations(), evaluations);
    return {writes, syncs};
}

TEST(SystemCalls, AnEvaluationCostsOneWriteAndOneSynchronisationIfItIsMadeDurable) {
    for (std::string const& optimizer : everyOptimizer(100)) {
        for (double const durableAfter : {0.0, 1e9}) {
            auto const [fewWrites, fewSyncs] = callsOf(optimizer, 10, durableAfter);
            auto const [manyWrites, manySyncs] = callsOf(optimizer, 40, durableAfter);
            EXPECT_EQ(manyWrites - fewWrites, 30);
            EXPECT_EQ(manySyncs - fewSyncs, durableAfter == 0.0 ? 30 : 0);
        }
    }
}

}  // namespace
