// Whole searches, every evaluated point to the last bit. A file of traces/ is
//
//   settings <nelderMead> ... </nelderMead>
//   search minimum powell:1 3 -1 0 1       a search from that start point, with
//   B 0x1.8p+1 ... -> 0x1.aep+7            its evaluations in order: B in a batch,
//   S 0x1.0p+0 ... -> 0x1.5p+6             S alone; the point and the value;
//   = 0x1.0p-3 ...                         the result: value and point
//
// and more searches of the same object. The files were made by a second
// implementation of the published methods, written apart from the library.

#include "foundation/xml/KrXml.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "tests/support/Bits.h"
#include "tests/support/TestFunctions.h"
#include "tests/support/Texts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

namespace fs = std::filesystem;

KrRealVector numbers(std::istringstream& words) {
    KrRealVector result;
    for (std::string word; words >> word;) {
        if (word != "->") {
            result.push_back(std::strtod(word.c_str(), nullptr));
        }
    }
    return result;
}

// Answers as recorded, so that a trace rests on the library's arithmetic alone: the
// last bit of the C library's pow differs between processors.
class Recorded : public KrScalarMultivariableFunction {
public:
    explicit Recorded(KrU32 n) : n_(n) {}
    KrU32 domainDim() const override { return n_; }
    double evaluate(KrRealVector const& x) const override { return answer(false, x); }
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        for (std::size_t i = 0; i < points.size(); ++i) {
            values[i] = answer(true, points[i]);
        }
    }
    void expect(Evaluation const& evaluation) { evaluations_.push_back(evaluation); }
    bool isThrough() const { return next_ == evaluations_.size(); }

private:
    struct Differs {};

    double answer(bool inBatch, KrRealVector const& point) const {
        if (isThrough() || evaluations_[next_].inBatch != inBatch ||
            bits(evaluations_[next_].point) != bits(point)) {
            ADD_FAILURE() << "evaluation " << next_ << " differs";
            throw Differs();
        }
        return evaluations_[next_++].value;
    }

    KrU32 n_;
    std::vector<Evaluation> evaluations_;
    mutable std::size_t next_ = 0;
};

class GoldenTraces : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenTraces, EveryPointIsAsRecorded) {
    std::ifstream file(GetParam());
    KrScalarMultivariableOptimizerContainer optimizer;
    std::string direction;
    KrRealVector start;
    std::unique_ptr<Recorded> f;
    std::size_t searches = 0;
    int lineNumber = 0;
    for (std::string line; std::getline(file, line);) {
        SCOPED_TRACE(testing::Message() << GetParam().filename() << ':' << ++lineNumber);
        std::istringstream words(line);
        std::string kind;
        words >> kind;
        if (kind == "settings") {
            ASSERT_TRUE(KrXml::fromString(document("optimizerContainer", line.substr(kind.size())),
                                          optimizer));
        } else if (kind == "search") {
            std::string name;
            words >> direction >> name;
            start = numbers(words);
            f = std::make_unique<Recorded>(functionByName(name)->domainDim());
        } else if (kind == "=") {
            KrRealVector found;
            double const value = direction == "minimum" ? optimizer.findMinimum(*f, start, found)
                                                        : optimizer.findMaximum(*f, start, found);
            found.insert(found.begin(), value);
            ASSERT_EQ(bits(found), bits(numbers(words)));
            ASSERT_TRUE(f->isThrough());
            ++searches;
        } else {
            KrRealVector point = numbers(words);
            double const value = point.back();
            point.pop_back();
            f->expect({kind == "B", point, value});
        }
    }
    EXPECT_GT(searches, 0U);
}

std::vector<fs::path> traceFiles() {
    char const* const other = std::getenv("ZEIBREKU_TRACES");  // another set than our own
    fs::path const folder = other ? other : ZEIBREKU_SOURCE_DIR "/tests/golden/traces";
    std::vector<fs::path> files;
    for (auto const& entry : fs::directory_iterator(folder)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

INSTANTIATE_TEST_SUITE_P(Files, GoldenTraces, testing::ValuesIn(traceFiles()),
                         [](auto const& file) { return file.param.stem().string(); });

}  // namespace
