// A record resumes a search with the same bits, wherever it was ended or cut, and is refused where
// it is damaged.

#include "search/KrEvaluationRecord.h"

#include "function/multivariable/KrCallableFunction.h"
#include "search/KrAskTell.h"
#include "search/KrEvaluation.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <fstream>
#include <functional>
#include <random>

namespace {

namespace fs = std::filesystem;

void writeFile(std::string const& path, std::string const& text) {
    fs::remove(path);  // some file systems wait for the disk when a file is emptied
    std::ofstream(path, std::ios::binary) << text;
}

double formula(KrRealVector const& x) {
    if (x[0] > 3.5) {
        throw KrEvaluationFailure("outside \"the\\ model\n");
    }
    return std::exp(x[0]) + (x[0] + x[1]) * (x[0] + x[1]) / 3.0;
}

KrSearch recordedSearch(std::string const& optimizer) {
    KrSearch search = searchOf(optimizer, {3.0, -1.0});
    search.setMaxEvaluations(60);
    return search;
}

// The function above, and how often it was called. At call number `last` it throws.
struct Counting : KrScalarMultivariableFunction {
    double evaluate(KrRealVector const& x) const override {
        if (count++ == last) {
            throw std::runtime_error("killed");
        }
        return formula(x);
    }
    KrU32 domainDim() const override { return 2; }
    mutable KrU32 count = 0;
    KrU32 last = ~KrU32{0};
};

// Appends each point to a file. With a pipe, each evaluation takes a byte out of it first.
struct Logging : KrScalarMultivariableFunction {
    double evaluate(KrRealVector const& x) const override {
        char c = 0;
        if (write(log, x.data(), 16) != 16 || (permits >= 0 && read(permits, &c, 1) != 1)) {
            throw std::runtime_error("cannot log");
        }
        return x[0] > 3.5 ? std::nan("") : sign * formula(x);
    }
    KrU32 domainDim() const override { return 2; }
    int log = -1;
    int permits = -1;
    double sign = 1.0;
};
struct LoggingBatches : Logging {
    void evaluateMultiple(std::vector<KrRealVector> const& points,
                          KrRealVector& values) const override {
        largest = std::max(largest, points.size());
        KrScalarMultivariableFunction::evaluateMultiple(points, values);
    }
    mutable std::size_t largest = 1;
};

// Without what depends on the run.
std::string outcome(KrSearchReport const& report) {
    std::string const text = KrXml::toString(report);
    return text.substr(0, text.find("<evaluationsMade>"));
}

TEST(Record, ResumesWithTheSameBitsWhereverASearchWasEnded) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    for (std::string const& optimizer : everyOptimizer(60)) {
        KrSearch const search = recordedSearch(optimizer);
        Counting const undisturbed;
        std::string const expected = outcome(search.run(undisturbed));
        for (KrU32 last = 0; last < undisturbed.count; last += 7) {
            fs::remove(path);
            Counting broken;
            broken.last = last;
            {
                KrEvaluationRecord record(path);
                ASSERT_THROW(search.run(broken, {.record = &record}), std::runtime_error);
            }
            KrEvaluationRecord record(path);
            Counting const rest;
            ASSERT_EQ(outcome(search.run(rest, {.record = &record})), expected) << optimizer;
            ASSERT_EQ(last + rest.count, undisturbed.count);  // none but the one in flight
            ASSERT_EQ(record.verify(), "same");
        }
    }
}

TEST(Record, ALargerLimitContinuesAFinishedSearch) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    KrSearch search = recordedSearch(everyOptimizer(60)[0]);
    Counting const undisturbed;
    std::string const expected = outcome(search.run(undisturbed));
    KrU32 made = 0;
    for (KrU32 const limit : {25, 60}) {
        search.setMaxEvaluations(limit);
        KrEvaluationRecord record(path);
        Counting const f;
        EXPECT_EQ(outcome(search.run(f, {.record = &record})) == expected, limit == 60);
        made += f.count;
        KrEvaluationRecord loaded(path);
        ASSERT_TRUE(loaded.load());
        EXPECT_EQ(loaded.search().maxEvaluations(), limit);
    }
    EXPECT_EQ(made, undisturbed.count);
}

// Killed at any moment, a search makes no evaluation twice but those that were under way.
TEST(Record, SurvivesKillsAtRandomMoments) {
    TemporaryFolder const folder;
    std::mt19937 random(1);
    int kills = 0;
    for (unsigned setting = 0; setting < 48; ++setting) {
        std::string const path = folder / std::to_string(setting);
        KrSearch search = recordedSearch(everyOptimizer(60)[setting / 8]);
        search.setRemember((setting & 1) != 0);
        search.setMaximise((setting & 2) != 0);
        Logging single;
        LoggingBatches batches;
        Logging& f = (setting & 4) != 0 ? batches : single;
        f.sign = search.maximise() ? -1.0 : 1.0;
        std::string const logPath = path + ".log";
        f.log = open(logPath.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600);
        std::string const expected = outcome(search.run(f));
        std::string const undisturbed = content(logPath);
        int status = 1;
        while (status != 0) {
            ASSERT_EQ(ftruncate(f.log, 0), 0);
            CapturedMessages const captured;
            KrEvaluationRecord before(path);
            std::size_t const recorded = before.load() ? before.entries().size() : 0;
            int ends[2];
            ASSERT_EQ(pipe(ends), 0);
            std::string const permits(random() % 10, ' ');
            auto const size = 16 * (1 + random() % (permits.size() + 1));  // of the log at the kill
            ASSERT_EQ(write(ends[1], permits.data(), permits.size()), permits.size());
            pid_t const child = fork();
            if (child == 0) {
                f.permits = ends[0];
                KrEvaluationRecord record(path);
                record.setDurableAfter(std::numeric_limits<double>::infinity());
                _exit(outcome(search.run(f, {.record = &record})) == expected ? 0 : 2);
            }
            pid_t ended = 0;
            while (ended == 0 && fs::file_size(logPath) < size) {
                ended = waitpid(child, &status, WNOHANG);
            }
            if (ended == 0) {
                kill(child, SIGKILL);
                ASSERT_EQ(waitpid(child, &status, 0), child);
            }
            close(ends[0]);
            close(ends[1]);
            ASSERT_TRUE(status == 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL));
            kills += status != 0 ? 1 : 0;
            // It went on behind what was recorded, and recorded all that had ended.
            std::string const made = content(logPath);
            ASSERT_EQ(undisturbed.substr(16 * recorded, made.size()), made) << setting;
            KrEvaluationRecord after(path);
            std::size_t const more = after.load() ? after.entries().size() - recorded : 0;
            ASSERT_LE(more, made.size() / 16);
            ASSERT_GE(more + batches.largest, made.size() / 16) << setting;
        }
        close(f.log);
    }
    EXPECT_GE(kills, 500);
}

// Cut anywhere, or with any byte changed: the same bits, or a refusal with its line.
TEST(Record, NoDamageLeadsToAWrongValue) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    KrSearch search = recordedSearch(everyOptimizer(60)[0]);
    search.setMaxEvaluations(12);
    std::string expected;
    {
        KrEvaluationRecord record(path);
        expected = outcome(search.run(Counting(), {.record = &record}));
    }
    std::string const text = content(path);
    auto const resume = [&](std::string const& damaged) {
        writeFile(path, damaged);
        CapturedMessages const captured;
        KrEvaluationRecord record(path);
        record.setDurableAfter(std::numeric_limits<double>::infinity());
        Counting const f;
        KrSearchReport const report = search.run(f, {.record = &record});
        if (report.reason() == KrSearchReason::Failed) {
            ASSERT_EQ(f.count, 0U);
            ASSERT_TRUE(captured.text().starts_with(path + ':')) << captured.text();
            ASSERT_TRUE(std::isdigit(captured.text()[path.size() + 1])) << captured.text();
            ASSERT_EQ(content(path), damaged);
        } else {
            ASSERT_EQ(outcome(report), expected);
        }
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        resume(text.substr(0, i));
        std::string flipped = text;
        flipped[i] = static_cast<char>(flipped[i] ^ 1);
        resume(flipped);
    }
}

TEST(Record, RefusesWhatIsNotItsOwn) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    KrSearch search = recordedSearch(everyOptimizer(60)[0]);
    search.setMaxEvaluations(5);
    auto const messageOf = [](KrSearch const& s, std::string const& file) {
        CapturedMessages const captured;
        KrEvaluationRecord record(file);
        Counting const f;
        EXPECT_EQ(s.run(f, {.record = &record}).reasonText(), "failed");
        EXPECT_EQ(f.count, 0U);
        EXPECT_EQ(captured.messages.size(), 1U);
        return captured.text();
    };
    {
        KrEvaluationRecord record(path);
        search.run(Counting(), {.record = &record});
        // A search inside of a search: the second writer is refused, and told who holds it.
        struct Nested : Counting {
            double evaluate(KrRealVector const&) const override {
                message = second();
                return 1.0;
            }
            std::function<std::string()> second;
            mutable std::string message;
        } nested;
        nested.second = [&] { return messageOf(search, path); };
        KrSearch more = search;
        more.setMaxEvaluations(6);  // continues a finished search
        more.run(nested, {.record = &record});
        EXPECT_NE(nested.message.find("process " + std::to_string(getpid())), std::string::npos)
            << nested.message;
    }
    KrSearch other = search;
    other.setSeed(2);
    EXPECT_NE(messageOf(other, path).find("found one whose seed differs"), std::string::npos);
    writeFile(path, "zeibreku-record 2\n");
    EXPECT_NE(messageOf(search, path).find(":1: expected"), std::string::npos);
    writeFile(path, "a letter");
    EXPECT_NE(messageOf(search, path).find(":1: expected"), std::string::npos);
    EXPECT_EQ(content(path), "a letter");
    // Root may write to a protected file, so the test becomes another user.
    fs::permissions(folder.path, fs::perms::all);
    fs::permissions(path, fs::perms(0444));
    uid_t const user = geteuid();
    EXPECT_TRUE(user != 0 || seteuid(65534) == 0);
    EXPECT_NE(messageOf(search, path).find("cannot open it: Permission denied"), std::string::npos);
    EXPECT_EQ(seteuid(user), 0);
    std::string const fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_NE(messageOf(search, fifo).find("expected a regular file"), std::string::npos);
    EXPECT_NE(messageOf(search, folder / "no/folder").find("cannot open it"), std::string::npos);
}

// A child that outlives a killed search does not keep the lock.
TEST(Record, AChildDoesNotKeepTheLock) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    KrSearch const search = recordedSearch(everyOptimizer(60)[0]);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    pid_t const searching = fork();
    if (searching == 0) {
        struct Forking : Counting {
            double evaluate(KrRealVector const&) const override {
                int lives[2];
                char c = 0;
                if (pipe(lives) == 0 && fork() == 0) {  // lives until the test closes its end
                    close(end);
                    _exit(write(lives[1], &c, 1) < 0 || read(other, &c, 1) < 0);
                }
                _exit(read(lives[0], &c, 1) < 0);
            }
            int other = 0;
            int end = 0;
        } f;
        f.other = ends[0];
        f.end = ends[1];
        KrEvaluationRecord record(path);
        search.run(f, {.record = &record});
    }
    int status = 0;
    ASSERT_EQ(waitpid(searching, &status, 0), searching);
    KrEvaluationRecord record(path);
    EXPECT_EQ(search.run(Counting(), {.record = &record}).reasonText(), "finished");
    close(ends[0]);
    close(ends[1]);
}

TEST(Record, AFullDiskIsToldOnceAndTheSearchGoesOn) {
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    KrSearch const search = recordedSearch(everyOptimizer(60)[0]);
    std::string const expected = outcome(search.run(Counting()));
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    auto const ignored = std::signal(SIGXFSZ, SIG_IGN);
    for (bool const ends : {false, true}) {
        fs::remove(path);
        rlimit const little{1500, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &little);
        CapturedMessages const captured;
        KrEvaluationRecord record(path);
        record.setEndsOnError(ends);
        KrSearchReport const report = search.run(Counting(), {.record = &record});
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(captured.messages.size(), 1U);
        EXPECT_EQ(report.reasonText(), ends ? "cancelled" : "finished");
        KrEvaluationRecord rest(path);
        EXPECT_EQ(outcome(search.run(Counting(), {.record = &rest})), expected);
    }
    std::signal(SIGXFSZ, ignored);
}

TEST(Record, VerifyNamesTheFirstEvaluationThatDiffers) {
    KrSearch const search = recordedSearch(everyOptimizer(60)[0]);
    KrEvaluationRecord record;
    search.run(Counting(), {.record = &record});
    EXPECT_EQ(record.verify(), "same");
    TemporaryFolder const folder;
    std::string const path = folder / "record";
    {
        KrEvaluationRecord written(path);
        search.run(Counting(), {.record = &written});
    }
    // As a library of tomorrow would see it whose optimizer takes another step.
    KrSearch other = search;
    other.setOptimizer(*searchOf(everyOptimizer(60)[1], {}).optimizer().topElement());
    std::string text = content(path);
    KrEvaluationRecord fresh(folder / "other");
    other.run(Counting(), {.record = &fresh});
    std::string const otherText = content(folder / "other");
    auto const secondLine = [](std::string const& lines) {
        std::size_t const begin = lines.find('\n') + 1;
        return std::pair(begin, lines.find('\n', begin) - begin);
    };
    auto const [begin, size] = secondLine(text);
    auto const [otherBegin, otherSize] = secondLine(otherText);
    text.replace(begin, size, otherText.substr(otherBegin, otherSize));
    writeFile(path, text);
    KrEvaluationRecord wrong(path);
    ASSERT_TRUE(wrong.load());
    CapturedMessages const captured;
    EXPECT_TRUE(wrong.verify().starts_with("evaluation 2 differs: the record has ("))
        << wrong.verify();
}

// With these settings, of which one is NaN, the optimizer asks for its start forever.
TEST(Record, AnEndlessSearchWithANaNIsResumedAndVerified) {
    KrSearch search = recordedSearch(component(
        "hookeJeeves", component("minTotalReduction", "NaN") + component("defaultEdgeLength", "0") +
                           component("maxFunctionEvaluations", "4294967295")));
    KrEvaluationRecord record;
    for (KrU32 const evaluations : {20U, 40U}) {
        search.setMaxEvaluations(evaluations);
        EXPECT_EQ(search.run(Counting(), {.record = &record}).evaluations(), evaluations);
        EXPECT_EQ(record.verify(), "same");
    }
    EXPECT_EQ(search, KrSearch(search));
}

// In one object, and in one that is new for every few points, as a job queue needs it.
TEST(AskTell, GivesThePointsOfARun) {
    TemporaryFolder const folder;
    for (std::string const& optimizer : everyOptimizer(60)) {
        KrSearch const search = recordedSearch(optimizer);
        std::string const expected = outcome(search.run(Counting()));
        for (bool const isShort : {false, true}) {
            fs::remove(folder / "record");
            std::string found;
            while (found.empty()) {
                KrEvaluationRecord record(folder / "record");
                record.setDurableAfter(std::numeric_limits<double>::infinity());
                KrAskTell asking(search, &record);
                do {
                    std::vector<KrRealVector> const points = asking.next(3);
                    ASSERT_NE(points.empty(), !asking.finished());
                    for (KrRealVector const& point : points) {
                        try {
                            asking.tell(point, formula(point));
                        } catch (KrEvaluationFailure const& failure) {
                            asking.tellFailure(point, failure.what());
                        }
                    }
                } while (!isShort && !asking.finished());
                found = asking.finished() ? outcome(asking.report()) : "";
            }
            EXPECT_EQ(found, expected) << optimizer;
        }
    }
    // The first value of a batch may end the search.
    KrSearch easy = recordedSearch(everyOptimizer(60)[3]);
    easy.setTargetValue(1.0);
    KrAskTell batch(easy);
    batch.tell(batch.next(1).front(), 0.0);
    EXPECT_TRUE(batch.next(5).empty() && batch.finished());
    // A record that is held is refused to others, and the first goes on.
    KrEvaluationRecord held;
    KrSearch const search = recordedSearch(everyOptimizer(60)[0]);
    KrAskTell first(search, &held);
    KrSearch other = search;
    other.setSeed(7);
    {
        CapturedMessages const captured;
        EXPECT_TRUE(KrAskTell(search, &held).finished());
        EXPECT_EQ(other.run(Counting(), {.record = &held}).reason(), KrSearchReason::Failed);
        EXPECT_EQ(captured.messages.size(), 2U);
    }
    EXPECT_EQ(first.next(1).size(), 1U);
    CapturedMessages const captured;
    KrEvaluationRecord record("/");
    KrAskTell asking(recordedSearch(everyOptimizer(60)[0]), &record);
    EXPECT_TRUE(asking.finished());
    EXPECT_EQ(asking.report().reason(), KrSearchReason::Failed);
}

}  // namespace
