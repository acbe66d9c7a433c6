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

class GoldenTraces : public testing::TestWithParam<fs::path> {};

TEST_P(GoldenTraces, EveryPointIsAsRecorded) {
    std::ifstream file(GetParam());
    KrScalarMultivariableOptimizerContainer optimizer;
    std::unique_ptr<KrScalarMultivariableFunction> f;
    std::vector<Evaluation> evaluations;
    std::size_t next = 0;
    KrRealVector found;  // value and point
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
            std::string direction;
            std::string name;
            words >> direction >> name;
            f = functionByName(name);
            ASSERT_TRUE(f);
            RecordingFunction const recording(*f);
            KrRealVector const start = numbers(words);
            KrRealVector point;
            double const value = direction == "minimum"
                                     ? optimizer.findMinimum(recording, start, point)
                                     : optimizer.findMaximum(recording, start, point);
            found = {value};
            found.insert(found.end(), point.begin(), point.end());
            evaluations = recording.evaluations;
            next = 0;
        } else if (kind == "=") {
            ASSERT_EQ(next, evaluations.size());
            ASSERT_EQ(bits(found), bits(numbers(words)));
            ++searches;
        } else {
            ASSERT_LT(next, evaluations.size());
            Evaluation const& evaluation = evaluations[next++];
            ASSERT_EQ(evaluation.inBatch, kind == "B");
            KrRealVector made = evaluation.point;
            made.push_back(evaluation.value);
            ASSERT_EQ(bits(made), bits(numbers(words)));
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
