// Whole searches, every evaluated point to the last bit.

#include "foundation/xml/KrXml.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "tests/support/Bits.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

namespace fs = std::filesystem;

// Returns the recorded values, so that a trace depends on the library's arithmetic alone. The
// last bit of the C library's pow differs between processors.
class Recorded : public KrScalarMultivariableFunction {
public:
    explicit Recorded(TracedSearch const& search) : search_(search) {}
    KrU32 domainDim() const override { return search_.dimension; }
    double evaluate(KrRealVector const& x) const override { return answer(false, x); }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        for (std::size_t i = 0; i < points.size(); ++i) {
            values[i] = answer(true, points[i]);
        }
    }
    std::size_t count() const { return count_; }

private:
    double answer(bool inBatch, KrRealVector const& point) const {
        if (count_ == search_.evaluations.size()) {
            throw std::runtime_error("more evaluations than recorded");
        }
        Evaluation const& expected = search_.evaluations[count_];
        if (expected.inBatch != inBatch || bits(expected.point) != bits(point)) {
            throw std::runtime_error("evaluation " + std::to_string(count_) + " differs");
        }
        ++count_;
        return expected.value;
    }

    TracedSearch const& search_;
    mutable std::size_t count_ = 0;
};

class GoldenTraces : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenTraces, EveryPointIsAsRecorded) {
    std::vector<TracedSearch> const searches = readTrace(GetParam());
    EXPECT_FALSE(searches.empty());
    KrScalarMultivariableOptimizerContainer optimizer;
    for (TracedSearch const& search : searches) {
        ASSERT_TRUE(!search.isNew || KrXml::fromString(search.optimizer, optimizer));
        Recorded const f(search);
        KrRealVector found;
        double const value = search.minimises ? optimizer.findMinimum(f, search.start, found)
                                              : optimizer.findMaximum(f, search.start, found);
        found.insert(found.begin(), value);
        EXPECT_EQ(bits(found), bits(search.found));
        EXPECT_EQ(f.count(), search.evaluations.size());
    }
}

fs::path folder() {
    char const* const other = std::getenv("ZEIBREKU_TRACES");  // another set than our own
    return other ? other : ZEIBREKU_SOURCE_DIR "/tests/golden/traces";
}

INSTANTIATE_TEST_SUITE_P(Files, GoldenTraces, testing::ValuesIn(traceFiles(folder())),
                         [](auto const& file) { return file.param.stem().string(); });

}  // namespace
