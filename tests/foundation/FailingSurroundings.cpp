// Failing memory and files, other locales, and threads.

#include "foundation/math/KrRandom.h"
#include "foundation/xml/KrXml.h"
#include "function/composite/KrInterpolator.h"
#include "function/multivariable/KrCallableFunction.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/optimizer/KrHookeJeevesOptimizer.h"
#include "function/optimizer/KrImplicitFilteringOptimizer.h"
#include "function/optimizer/KrMultidirectionalSearchOptimizer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "function/optimizer/KrSequenceOptimizer.h"
#include "function/scalar/KrLinearScalarFunction.h"
#include "function/tools/KrRandomTensorTool.h"
#include "tests/support/Allocations.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"
#include "tests/support/StillWorks.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <clocale>
#include <csignal>
#include <cstdint>
#include <functional>
#include <locale>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <thread>

namespace {

std::string example(std::string const& name) {
    return ZEIBREKU_SOURCE_DIR "/examples/" + name + ".xml";
}

std::string const quadratic = example("02_functions/quadratic");
std::string const sequenceFile = example("03_compare/sequence");
std::string const tables = example("04_tables/aerodynamics");
std::string const examples[] = {quadratic, example("02_functions/s-curve"), sequenceFile, tables};

KrSequenceOptimizer sequenceOfExample() {
    KrSequenceOptimizer sequence;
    EXPECT_TRUE(KrXml::readFile(sequenceFile, sequence));
    return sequence;
}

// Whether `work` succeeds. Running out of memory is a failure.
template <class Work>
bool good(Work const& work) {
    try {
        return work();
    } catch (std::bad_alloc const&) {
        return false;
    }
}

// Makes every allocation of `work` fail in turn. It throws or returns false, and leaks
// nothing. In the end it succeeds.
void failEach(std::function<bool()> const& work) {
    Kr::Print::Sink const before = Kr::Print::instance().setSink([](auto const&) {});
    EXPECT_TRUE(work());
    // The first message and the first exception allocate memory that stays.
    Kr::Print::instance().write(Kr::PrintType::Error, "first");
    EXPECT_FALSE(good([]() -> bool { throw std::bad_alloc(); }));
    long const live = liveAllocations();
    bool failed = live > 0;  // a sanitizer lets none fail
    for (std::size_t k = 1; failed; ++k) {
        failAllocation(k);
        bool const succeeded = good(work);
        failed = failAllocation(0);
        EXPECT_TRUE(succeeded || failed) << k;
        EXPECT_EQ(liveAllocations(), live) << k;
    }
    Kr::Print::instance().setSink(before);
}

TEST(FailingSurroundings, MemoryThatRunsOutLeavesNothingHalf) {
    KrSequenceOptimizer const sequence = sequenceOfExample();
    std::string const text = KrXml::toString(sequence);
    failEach([&] { return KrXml::toString(sequence) == text; });
    failEach([&] {
        std::istringstream stream(text);
        KrXmlReader reader(stream);
        bool const whole = good([&] { return reader.nextChild() && reader.finish(); });
        EXPECT_EQ(reader.finish(), whole);  // the document ends where memory ran out
        return whole;
    });
    TemporaryFolder const folder;
    std::string const path = folder / "a.xml";
    failEach([&] {
        bool const written = good([&] { return KrXml::writeFile(path, sequence); });
        EXPECT_TRUE(written || (content(path) == text && folder.fileCount() == 1));
        return written;
    });
}

TEST(FailingSurroundings, FilesThatCannotBeUsedAreNamedAndStayAsTheyWere) {
    KrSequenceOptimizer sequence = sequenceOfExample();
    TemporaryFolder const folder;
    std::string const file = folder / "a.xml";
    std::ofstream(file) << "old";
    std::filesystem::create_symlink("loop", folder / "loop");
    struct {
        std::string path;
        char const* reason;
    } const cases[] = {
        {folder / "absent/b.xml", "No such file or directory"},
        {file + "/b.xml", "Not a directory"},
        {folder / std::string(300, 'x'), "File name too long"},
        {folder / "loop", "Too many levels of symbolic links"},
        {folder.path, "Is a directory"},
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
    CapturedMessages captured;
    ::setrlimit(RLIMIT_FSIZE, &small);
    bool const written = KrXml::writeFile(file, sequence);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(written);
    // Nothing stays of the signal that would have ended the process.
    sigset_t signals;
    ::sigpending(&signals);
    EXPECT_FALSE(sigismember(&signals, SIGXFSZ));
    ::pthread_sigmask(SIG_BLOCK, nullptr, &signals);
    EXPECT_FALSE(sigismember(&signals, SIGXFSZ));
    // A protected file. Root may write to it, so the test becomes another user.
    std::filesystem::permissions(folder.path, std::filesystem::perms::all);
    std::filesystem::permissions(file, std::filesystem::perms(0444));
    uid_t const user = ::geteuid();
    EXPECT_TRUE(user != 0 || ::seteuid(65534) == 0);
    EXPECT_FALSE(KrXml::writeFile(file, sequence));
    EXPECT_EQ(::seteuid(user), 0);
    EXPECT_EQ(captured.text(), file + ": cannot be written: File too large\n" + file +
                                   ": cannot be written: Permission denied\n");
    EXPECT_EQ(content(file), "old");
    EXPECT_EQ(folder.fileCount(), 2);
    // A pipe is written to, also through a link that names no file.
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    EXPECT_TRUE(KrXml::writeFile("/proc/self/fd/" + std::to_string(ends[1]), sequence));
    ::close(ends[1]);
    std::string text(10'000, ' ');
    text.resize(static_cast<std::size_t>(::read(ends[0], text.data(), text.size())));
    ::close(ends[0]);
    EXPECT_EQ(text, KrXml::toString(sequence));
    std::ofstream full("/dev/full");
    if (full) {
        KrXmlWriter writer("", full);
        writer.startElement(sequence.token());
        writer.endElement();
        EXPECT_FALSE(writer.good());
    }
    captured.messages.clear();
    EXPECT_FALSE(KrXml::readFile(cases[0].path, sequence));
    EXPECT_FALSE(KrXml::readFile(folder.path, sequence));
    EXPECT_EQ(captured.text(), cases[0].path + ": cannot be read: No such file or directory\n" +
                                   folder.path.string() + ": cannot be read: Is a directory\n");
}

TEST(FailingSurroundings, LocalesChangeNoByte) {
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
            std::unique_ptr<KrXmlObject> const object = KrXml::readFile(path, everyElement());
            all += KrXml::toString(*object) + KrXml::schemaToString(*object);
            for (double const answer : run(*object)) {
                Kr::Print::ostream(Kr::PrintType::Error, "") << answer << ' ' << 12345 << true;
            }
        }
        KrXml::fromString(std::string(2000, '\n') + "<a/>", everyElement());
        Kr::Print::instance().write(Kr::PrintType::Error, "%d %u\n", 12345, 12345U);
        return all + captured.text();
    };
    std::string const expected = everything();
    EXPECT_NE(expected.find("12345"), std::string::npos);
    EXPECT_NE(expected.find(":2001:1:"), std::string::npos);
    std::locale const before = std::locale::global(std::locale(std::locale(), new Comma));
    EXPECT_EQ(everything(), expected);
    // The test makes the C library's locale, since few machines have one.
    TemporaryFolder const folder;
    std::string const made = folder / "de_DE.UTF-8";
    if (std::system(("localedef -i de_DE -f UTF-8 '" + made + "' > /dev/null 2>&1").c_str()) == 0) {
        ::setenv("LOCPATH", folder.path.c_str(), 1);
    }
    std::string const classic = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    bool const hasComma = std::string(std::localeconv()->decimal_point) == ",";
    EXPECT_EQ(everything(), expected);
    std::setlocale(LC_ALL, classic.c_str());
    ::unsetenv("LOCPATH");
    std::locale::global(before);
    if (!hasComma) {
        GTEST_SKIP() << "that of the C library needs localedef and the locale de_DE";
    }
}

TEST(FailingSurroundings, ThreadsWithTheirOwnObjectsDoNotMeet) {
    auto const work = [] {
        std::vector<KrRealVector> answers;
        for (std::string const& path : examples) {
            std::unique_ptr<KrXmlObject> const object = KrXml::readFile(path, everyElement());
            std::unique_ptr<KrXmlObject> const back(object->clone());
            EXPECT_TRUE(KrXml::readTextInto(KrXml::toString(*object), *back, nullptr));
            EXPECT_FALSE(KrXml::readTextInto("<a/>", *back, nullptr));
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
    std::set<std::string> texts;  // messages of threads do not mix
    for (Kr::Message const& message : captured.messages) {
        texts.insert(message.text);
    }
    EXPECT_EQ(texts.size(), 4U);
}

// Makes every allocation of `work` on a copy of `object` fail in turn. Repeated, the work
// gives the result that it gives on a fresh copy.
template <class T, class Work>
void failOnce(char const* name, T const& object, Work work) {
    CapturedMessages const captured;
    auto const fresh = std::make_unique<T>(object);
    auto const expected = work(*fresh);
    bool failed = true;
    for (std::size_t k = 1; failed; ++k) {
        auto const used = std::make_unique<T>(object);
        failAllocation(k);
        try {
            work(*used);
        } catch (std::bad_alloc const&) {
        }
        failed = failAllocation(0);
        ASSERT_EQ(work(*used), expected) << name << ", allocation " << k;
    }
}

auto plane(KrU32 dimension) {
    return KrCallableFunction(dimension, [](auto const& x) { return x[0] + 3.0 * x.back(); });
}

TEST(FailedOnce, ElementsAreAsGoodAsBefore) {
    auto const everything = [](KrOwned<KrXmlObject>& object) {
        std::string text = KrXml::toString(*object) + KrXml::schemaToString(*object);
        for (double const answer : run(*object)) {
            text += std::to_string(std::bit_cast<std::uint64_t>(answer)) + ' ';
        }
        return text;
    };
    for (auto const& [token, creator] : everyElement().creatorMap()) {
        failOnce(token.text().c_str(), KrOwned<KrXmlObject>(creator()), everything);
    }
    for (std::string const& path : examples) {
        failOnce(path.c_str(), KrOwned(KrXml::readFile(path, everyElement()).release()),
                 everything);
    }
    KrHookeJeevesOptimizer turning;
    turning.setDirectionsMode(KrHookeJeevesOptimizer::ROTATED);
    failOnce("rotated", KrOwned<KrXmlObject>(turning.clone()), everything);

    auto const moveByHand = [](auto& optimizer) {
        bool done = false;
        optimizer.singleStep(1.0, plane(3), done);  // of what is left
        optimizer.initialize(1.0, plane(2), {}, 1.0);
        optimizer.initialize(1.0, plane(3), {}, 1.0);
        return optimizer.singleStep(1.0, plane(3), done);
    };
    failOnce("by hand", KrNelderMeadOptimizer(), moveByHand);
    failOnce("by hand", KrMultidirectionalSearchOptimizer(), moveByHand);
    failOnce("by hand", KrImplicitFilteringOptimizer(), moveByHand);

    KrScalarFunctionContainer own;  // with a client's creator under a tag of the library
    auto* const creator = turning.creator;
    own.registerComponentCreator(KrFunction::KrLinearScalarFunctionToken, creator);
    failOnce("creators", own, [creator](auto& container) {
        auto const& map = container.creatorMap();
        return map.at(KrFunction::KrLinearScalarFunctionToken) == creator ? map.size() : 0;
    });
}

TEST(FailedOnce, ArraysAndTablesAreAsGoodAsBefore) {
    static KrReArray const other(4, 5);
    for (auto* const change : {+[](KrReArray& array) { array.resizeArray(5, 4); },
                               +[](KrReArray& array) { array.resizeArrayAndFill(5, 4, 2.0); },
                               +[](KrReArray& array) { other.choleskyDecomposition(array); },
                               +[](KrReArray& array) { array = other; }}) {
        failOnce("array", KrReArray(3, 2), [change](auto& array) {
            for (KrRealVector const& row : array.rows()) {
                EXPECT_EQ(row.size(), array.numColumns());  // whatever is left
            }
            change(array);
            return array.rows();
        });
    }
    failOnce("field", KrRandomTensorTool(), [](auto const& tool) {
        KrLinearScalarFunction correlation;
        correlation.setStartValue(1.0);
        KrReArray field;
        KrRandom::seed(1);
        tool.getGaussianRandomArray(field, 5, 4, correlation, 0.1, 2.0);
        return field;
    });

    KrVectorSearch<double> search;
    search.init({0.0, 1.0}, search.LIMIT, search.LIMIT, search.BISECTION);
    failOnce("search", search, [](auto& s) {
        s.lookUp(0.5);
        s.init({0.0, 1.0, 2.0, 4.0}, s.LIMIT, s.LIMIT, s.LINEAR);
        s.lookUp(3.0);
        KrRealVector weights(2);
        s.getWeight(weights[0], weights[1]);
        return weights;
    });
    KrInterpolator<double> small;
    KrInterpolator<double> large;
    small.addDimension(search);
    small.addInterpolator({1.0, 2.0});
    for (double const value : {2.0, 3.0, 4.0, 5.0, 6.0}) {
        large.addDimension(search);
        large.addInterpolator(KrRealVector(32, value));
    }
    KrRealVector const point(128, 0.5);
    failOnce("interpolator", small, [&](auto& interpolator) {
        interpolator.evaluate(point);
        interpolator = large;
        return interpolator.evaluate(point);
    });

    KrLinearMultivariableConstraint sparse;
    for (KrU32 i = 0; i < 64; ++i) {
        sparse.setCoefficient(2 * i, i);
    }
    failOnce("constraint", sparse, [&](auto& constraint) {
        constraint.coefficient(1);  // makes an index
        constraint.setCoefficient(999, 7.0);
        constraint.setCoefficient(1, 7.0);
        KrRealVector answers = constraint.gradient(point);
        answers.push_back(constraint.evaluate(point));
        constraint = sparse;
        answers.push_back(constraint.coefficient(1) + constraint.coefficient(2));
        return answers;
    });
}

}  // namespace
