// Memory, files, locales and threads that are not as one would wish.

#include "foundation/xml/KrXml.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/StillWorks.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <locale>
#include <new>
#include <thread>

namespace {

namespace fs = std::filesystem;

std::string content(fs::path const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string example(std::string const& name) {
    return ZEIBREKU_SOURCE_DIR "/examples/" + name + ".xml";
}

std::string const examples[] = {example("02_functions/quadratic"), example("02_functions/s-curve"),
                                example("03_compare/sequence"), example("04_tables/aerodynamics")};

class FailingSurroundings : public testing::Test {
protected:
    FailingSurroundings() {
        std::string name = (fs::temp_directory_path() / "zeibreku-XXXXXX").string();
        folder = ::mkdtemp(name.data());
    }
    ~FailingSurroundings() override { fs::remove_all(folder); }

    long filesInFolder() const {
        return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
    }

    // Has every allocation of `work` fail in turn: it throws, or is false, and leaks
    // nothing. In the end it succeeds.
    static void failEach(std::function<bool()> const& work) {
        Kr::Print::Sink const before = Kr::Print::instance().setSink([](auto const&) {});
        EXPECT_TRUE(work());
        bool failed = liveAllocations() > 0;  // a sanitizer lets none fail
        long live = 0;
        for (std::size_t k = 1; failed; ++k) {
            bool good = false;
            failAllocation(k);
            try {
                good = work();
            } catch (std::bad_alloc const&) {
            }
            failed = failAllocation(0);
            EXPECT_TRUE(good || failed) << k;
            live = k == 1 ? liveAllocations() : live;  // the first throw makes what stays
            EXPECT_EQ(liveAllocations(), live) << k;
        }
        Kr::Print::instance().setSink(before);
    }

    template <class T>
    static void failReadsOf(std::string const& path) {
        SCOPED_TRACE(path);
        failEach([&] {
            T target;
            bool read = false;
            try {
                read = KrXml::readFile(path, target);
            } catch (std::bad_alloc const&) {
            }
            EXPECT_TRUE(read || target == T());
            return read;
        });
    }

    fs::path folder;
};

TEST_F(FailingSurroundings, MemoryThatRunsOutLeavesNothingHalf) {
    failReadsOf<KrMultivariableConstraintContainer>(examples[0]);
    failReadsOf<KrSequenceOptimizer>(examples[2]);
    failReadsOf<KrCompositeFunctionContainer>(examples[3]);
    KrSequenceOptimizer sequence;
    ASSERT_TRUE(KrXml::readFile(examples[2], sequence));
    std::string const text = KrXml::toString(sequence);
    failEach([&] { return KrXml::toString(sequence) == text; });
    failEach([&] {
        std::unique_ptr<KrXmlObject> const clone(sequence.clone());
        return sequence.equality(clone.get());
    });
    fs::path const path = folder / "a.xml";
    failEach([&] {
        bool written = false;
        try {
            written = KrXml::writeFile(path.string(), sequence);
        } catch (std::bad_alloc const&) {
        }
        EXPECT_TRUE(written || (content(path) == text && filesInFolder() == 1));
        return written;
    });
}

TEST_F(FailingSurroundings, FilesThatCannotBeWrittenAreAsTheyWere) {
    KrSequenceOptimizer sequence;
    ASSERT_TRUE(KrXml::readFile(examples[2], sequence));
    std::string const file = (folder / "a.xml").string();
    std::ofstream(file) << "old";
    fs::create_symlink("loop", folder / "loop");
    struct {
        std::string path;
        char const* reason;
    } const cases[] = {
        {file + "/b.xml", "Not a directory"},
        {(folder / std::string(300, 'x')).string(), "File name too long"},
        {(folder / "loop").string(), "Too many levels of symbolic links"},
        {"/dev/full", "not a regular file"},
        {"", "No such file or directory"},
        {"%s%n\n/b.xml", "No such file or directory"},
    };
    for (auto const& [path, reason] : cases) {
        CapturedMessages const captured;
        EXPECT_FALSE(KrXml::writeFile(path, sequence)) << path;
        EXPECT_EQ(captured.text(), path + ": cannot be written: " + reason + "\n");
        EXPECT_FALSE(sequence.createSchema(path, sequence.token())) << path;
    }
    // A disk that is full after some bytes.
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    rlimit const small{100, limit.rlim_max};
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    CapturedMessages const captured;
    ::setrlimit(RLIMIT_FSIZE, &small);
    bool const written = KrXml::writeFile(file, sequence);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(captured.text(), file + ": cannot be written: File too large\n");
    EXPECT_EQ(content(file), "old");
    EXPECT_EQ(filesInFolder(), 2);
    std::ofstream full("/dev/full");
    if (full) {
        KrXmlWriter writer("", full);
        writer.startElement(sequence.token());
        writer.endElement();
        EXPECT_FALSE(writer.good());
    }
}

TEST_F(FailingSurroundings, LocalesChangeNoByte) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\1"; }
        std::string do_truename() const override { return "wahr"; }
    };
    auto const everything = [] {
        CapturedMessages const captured;
        std::string all;
        for (std::string const& path : examples) {
            std::string const text = content(path);
            std::istringstream stream(std::string(2000, '\n') + text.substr(text.find("?>") + 2));
            KrXmlReader reader(stream);
            std::unique_ptr<KrXmlObject> const object(
                everyElement().newObjectFromToken(reader.token()));
            object->read(reader);
            reader.refuse("a place", std::to_string(reader.errorCount()));
            all += KrXml::toString(*object) + KrXml::schemaToString(*object);
            for (double const answer : run(*object)) {
                Kr::Print::ostream(Kr::PrintType::Error, "") << answer << ' ' << 12345 << true;
            }
        }
        Kr::Print::instance().write(Kr::PrintType::Error, "%d %u\n", 12345, 12345U);
        return all + captured.text();
    };
    std::string const expected = everything();
    EXPECT_NE(expected.find("12345"), std::string::npos);
    std::locale const before = std::locale::global(std::locale(std::locale(), new Comma));
    std::string const classic = std::setlocale(LC_ALL, nullptr);
    for (char const* const name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) {  // where they are installed
        std::setlocale(LC_ALL, name);
        EXPECT_EQ(everything(), expected);
    }
    std::setlocale(LC_ALL, classic.c_str());
    std::locale::global(before);
}

TEST_F(FailingSurroundings, ThreadsWithTheirOwnObjectsDoNotMeet) {
    auto const work = [] {
        std::vector<KrRealVector> answers;
        for (std::string const& path : examples) {
            std::ifstream stream(path);
            KrXmlReader reader(stream);
            std::unique_ptr<KrXmlObject> const object(
                everyElement().newObjectFromToken(reader.token()));
            EXPECT_TRUE(object->read(reader));
            std::unique_ptr<KrXmlObject> const back(object->clone());
            EXPECT_TRUE(KrXml::internal::readTextInto(KrXml::toString(*object), *back, nullptr));
            EXPECT_FALSE(KrXml::internal::readTextInto("<a/>", *back, nullptr));
            answers.push_back(run(*back));
        }
        return answers;
    };
    CapturedMessages const captured;
    std::vector<KrRealVector> const expected = work();
    std::vector<std::vector<KrRealVector>> answers(8);
    std::vector<std::thread> threads;
    for (auto& answer : answers) {
        threads.emplace_back([&] {
            for (int i = 0; i < 20; ++i) {
                answer = work();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (auto const& answer : answers) {
        EXPECT_TRUE(std::ranges::equal(answer, expected, [](auto const& a, auto const& b) {
            return a.size() == b.size() && std::memcmp(a.data(), b.data(), 8 * a.size()) == 0;
        }));
    }
    EXPECT_EQ(captured.messages.size(), 4U * 161U);
}

}  // namespace
