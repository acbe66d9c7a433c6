// A program gives the values of a search, whatever it prints and however it ends. Each test also
// checks that no process and no descriptor is left.

#include "search/KrCommandWorkers.h"
#include "search/KrEvaluationRecord.h"
#include "tests/search/SearchTexts.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <csignal>
#include <map>
#include <thread>

namespace {

namespace fs = std::filesystem;
using Outcome = KrEvaluation::Outcome;

constexpr auto noLimit = KrEvaluationWorkers::Time::max();

std::ptrdiff_t openDescriptors() {
    fs::path const folder = "/proc/self/fd";
    return fs::exists(folder) ? std::distance(fs::directory_iterator(folder), {}) : 0;
}

// Waits until a command has written its process to a file.
pid_t processIn(std::string const& path) {
    std::string text;
    while (!text.ends_with('\n')) {
        std::this_thread::yield();
        text = content(path);
    }
    return std::stoi(text);
}

// Waits until a process has ended, even if no one waits for it.
void awaitEnd(pid_t process) {
    std::string const path = "/proc/" + std::to_string(process) + "/stat";
    while (kill(process, 0) == 0 && content(path).find(") Z ") == std::string::npos) {
        std::this_thread::yield();
    }
}

class Commands : public testing::Test {
protected:
    ~Commands() override {
        EXPECT_EQ(openDescriptors(), descriptors_);
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
    }

    std::vector<std::string> shell(std::string const& script) const {
        return {"sh", "-c", "cd " + folder.path.string() + "\n" + script};
    }

    // The evaluations at these points by their tickets, which count from 7 on.
    static std::map<std::uint64_t, KrEvaluation> evaluated(
        KrCommandWorkers& workers, std::vector<KrRealVector> const& points) {
        std::vector<KrEvaluationRequest> requests;
        requests.reserve(points.size());
        for (KrRealVector const& point : points) {
            requests.push_back({7 + requests.size(), point});
        }
        workers.start(requests);
        std::vector<KrEvaluation> all;
        while (workers.finish(all, noLimit, {})) {
        }
        EXPECT_EQ(all.size(), points.size());
        std::map<std::uint64_t, KrEvaluation> result;
        for (KrEvaluation const& evaluation : all) {
            result[evaluation.ticket] = evaluation;
        }
        return result;
    }

    static KrEvaluation evaluated(std::vector<std::string> const& command,
                                  KrRealVector const& point = {},
                                  std::vector<std::string> const& names = {}) {
        KrCommandWorkers workers(command, 1, names);
        return evaluated(workers, {point})[7];
    }

    TemporaryFolder const folder;

private:
    std::ptrdiff_t const descriptors_ = openDescriptors();
};

TEST_F(Commands, TakeTheLastLineAsValue) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::pair<char const*, double> const outputs[] = {
        {"2", 2.0},           {"x = 3\\n \\t1.5D+03 \\r\\n\\n \\n", 1500.0},
        {"+.5\\n", 0.5},      {"0.1", 0.1},
        {"-1d-2", -0.01},     {"5.", 5.0},
        {"inf\\n", infinity}, {"-Infinity", -infinity}};
    for (auto const& [output, value] : outputs) {
        EXPECT_EQ(evaluated({"printf", output}).value, value) << output;
    }
    EXPECT_TRUE(std::isnan(evaluated({"printf", "NaN"}).value));
    EXPECT_EQ(evaluated({"printf", "NaN"}).outcome, Outcome::Value);
}

TEST_F(Commands, FailWithoutANumberOrWithAnExitStatus) {
    std::string const expected = "expected a number in the last line of the output, found ";
    std::pair<std::string, std::string> const scripts[] = {
        {"echo 1; exit 3", "exit status 3"},
        {"true", expected + "\"\""},
        {"exec >&-", expected + "\"\""},
        {"echo 1; echo 1,5", expected + "\"1,5\""},
        {"echo +-1", expected + "\"+-1\""},
        {"echo 1e999", expected + "\"1e999\""},
        {"echo 1 2; echo", expected + "\"1 2\""},
        {"printf '\"%070d' 1", expected + "\"\"" + std::string(59, '0') + "...\""}};
    for (auto const& [script, text] : scripts) {
        KrEvaluation const evaluation = evaluated(shell(script));
        EXPECT_EQ(evaluation.outcome, Outcome::Failure);
        EXPECT_EQ(evaluation.text, text) << script;
    }
}

TEST_F(Commands, GetThePointAndTheirNumbers) {
    double const x = 0.1 + 0.2;
    EXPECT_EQ(evaluated({"cat"}, {x}).value, x);
    EXPECT_EQ(evaluated(shell("read a b; read c || echo $b"), {1.0, -1e-300}).value, -1e-300);
    EXPECT_EQ(evaluated(shell("test \"{c {b}}{ {a}\" = \"{c 0.5}{ 3\" && echo 1"), {3.0, 0.5},
                        {"a", "b", "c"})
                  .value,
              1.0);
    EXPECT_EQ(evaluated(shell("echo $ZEIBREKU_EVALUATION$ZEIBREKU_WORKER")).value, 70.0);
}

TEST_F(Commands, MayWriteAnyOutput) {
    EXPECT_EQ(evaluated(shell("yes 123456789 | head -c 3000000; echo; echo 5")).value, 5.0);
    EXPECT_EQ(evaluated(shell("echo 3; exec >&-; exec <&-; exec true")).value, 3.0);
    // A process that is left holds the output, and is killed.
    EXPECT_EQ(
        evaluated(shell("yes 4 & echo $! > yes; sleep 1000 & echo $! > sleep; echo 4")).outcome,
        Outcome::Value);
    awaitEnd(processIn(folder / "yes"));
    awaitEnd(processIn(folder / "sleep"));
    // Standard error arrives in whole lines.
    KrCommandWorkers workers(shell("printf 'a\\nb' >&2; echo 1; echo c >&2"));
    std::string errors;
    workers.setErrorOutput([&](std::string_view text) { errors += text; });
    EXPECT_EQ(evaluated(workers, {{}, {}})[8].value, 1.0);
    EXPECT_EQ(errors, "a\nbc\na\nbc\n");
}

TEST_F(Commands, EndWithTheirChildrenAtAStop) {
    // One ends when it is asked to, the other is killed. A third has no turn.
    KrCommandWorkers workers(
        shell("if test {x} = 0; then trap '' TERM; else trap 'echo > polite' TERM; fi\n"
              "sleep 1000 & echo $! > child{x}; echo $$ > parent{x}; wait; echo 1"),
        2, {"x"});
    std::vector<KrEvaluation> all;
    std::vector<KrEvaluationRequest> const requests = {{0, {0.0}}, {1, {1.0}}, {2, {2.0}}};
    workers.start(requests);
    std::vector<pid_t> processes;
    std::stop_source source;
    std::jthread const stopper([&] {
        for (char const* name : {"parent0", "child0", "parent1", "child1"}) {
            processes.push_back(processIn(folder / name));
        }
        source.request_stop();
    });
    EXPECT_FALSE(workers.finish(all, noLimit, source.get_token()));
    EXPECT_FALSE(workers.finish(all, KrEvaluationWorkers::Time::min(), {}));
    workers.cancel();
    while (workers.finish(all, noLimit, {})) {
    }
    std::ranges::for_each(processes, awaitEnd);
    EXPECT_TRUE(fs::exists(folder / "polite"));
    EXPECT_FALSE(fs::exists(folder / "parent2"));
    ASSERT_EQ(all.size(), 3);
    for (KrEvaluation const& evaluation : all) {
        EXPECT_EQ(evaluation.outcome, Outcome::Cancelled);
    }
    // The destructor ends what is under way.
    pid_t process = 0;
    {
        KrCommandWorkers others(shell("echo $$ > parent; exec sleep 1000"));
        others.start(std::span(requests).first(1));
        process = processIn(folder / "parent");
    }
    EXPECT_NE(kill(process, 0), 0);
}

TEST_F(Commands, EndWithTheirParent) {
    pid_t const parent = fork();
    if (parent == 0) {
        KrCommandWorkers workers(shell("echo $$ > process; exec sleep 1000"));
        KrEvaluationRequest const request;
        workers.start({&request, 1});
        processIn(folder / "process");
        std::raise(SIGKILL);
    }
    waitpid(parent, nullptr, 0);
    awaitEnd(processIn(folder / "process"));
}

TEST_F(Commands, AreRepeatedOnceIfASignalEndsThem) {
    EXPECT_EQ(evaluated(shell("mkdir first 2>&- && kill -9 $$; echo 1")).value, 1.0);
    std::signal(SIGCHLD, SIG_IGN);  // no status is left to tell a signal from a value
    EXPECT_EQ(evaluated({"echo", "1"}).outcome, Outcome::Broken);
    std::signal(SIGCHLD, SIG_DFL);
    KrSearch const search = searchOf(everyOptimizer(60)[1], {3.0, -1.0});
    KrCommandWorkers workers(shell("echo >> runs; kill -TERM $$; echo 1"));
    KrEvaluationRecord record(folder / "record");
    // What this process blocks and ignores has no effect on the command.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
    auto const before = std::signal(SIGTERM, SIG_IGN);
    CapturedMessages const messages;
    EXPECT_EQ(search.run(workers, {.record = &record}).reason(), KrSearchReason::Failed);
    std::signal(SIGTERM, before);
    pthread_sigmask(SIG_UNBLOCK, &blocked, nullptr);
    EXPECT_EQ(messages.text(),
              "search: evaluation 0: \"sh\" was ended twice by a signal, the second time by 15 "
              "(Terminated)\n");
    EXPECT_EQ(content(folder / "runs"), "\n\n");
    EXPECT_TRUE(record.entries().empty());
}

TEST_F(Commands, GiveTheSameBitsOneByOneAndSeveralAtATime) {
    // A folder for each worker is free when its run begins.
    auto const command = shell(
        "mkdir $ZEIBREKU_WORKER || exit 1\n"
        "awk '{ printf \"%.17g\", exp($1) + ($1 + $2) ^ 2 / 3 }'; rmdir $ZEIBREKU_WORKER");
    // Multidirectional search asks for several points at once.
    KrSearch search = searchOf(everyOptimizer(60)[3], {3.0, -1.0});
    search.setMaxEvaluations(40);
    std::string texts[2];
    for (KrU32 i : {0, 1}) {
        KrCommandWorkers workers(command, 1 + 3 * i);
        KrSearchReport const report = search.run(workers);
        EXPECT_EQ(report.failures(), 0);
        texts[i] = KrXml::toString(report);
        texts[i].erase(texts[i].find("<evaluationsMade>"));
    }
    EXPECT_EQ(texts[0], texts[1]);
}

TEST_F(Commands, AreLookedUpBeforeAnyRun) {
    std::ofstream(folder / "text") << "echo {x}\n";
    for (std::string const& name :
         {std::string(), std::string("no-such-program"), folder / "text", folder.path.string()}) {
        KrCommandWorkers workers({name});
        EXPECT_EQ(workers.problem(),
                  "command: expected an executable program, found \"" + name + '"');
        EXPECT_EQ(evaluated(workers, {{}})[7].outcome, Outcome::Broken);
    }
    EXPECT_EQ(KrCommandWorkers({}).problem(),
              "command: expected an executable program, found \"\"");
    // The shell runs a script without "#!".
    fs::permissions(folder / "text", fs::perms::owner_all);
    std::ofstream(folder / "text") << "echo $1\n";
    KrCommandWorkers workers({folder / "text", "{x}"}, 1, {"x"});
    EXPECT_EQ(evaluated(workers, {{2.5}})[7].value, 2.5);
    fs::remove(folder / "text");
    EXPECT_EQ(evaluated(workers, {{2.5}})[7].text,
              "cannot run \"" + (folder / "text") + "\": No such file or directory");
}

TEST_F(Commands, WaitForDescriptors) {
    KrCommandWorkers workers({"cat"}, 8);
    std::vector<KrRealVector> const points(30, {4.0});
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    int const next = dup(0);  // the lowest that is free
    close(next);
    for (rlim_t const room : {0, 12}) {
        rlimit few = before;
        few.rlim_cur = static_cast<rlim_t>(next) + room;
        setrlimit(RLIMIT_NOFILE, &few);
        auto const all = evaluated(workers, points);
        setrlimit(RLIMIT_NOFILE, &before);
        for (auto const& [ticket, evaluation] : all) {
            EXPECT_EQ(evaluation.text, room ? "" : "cannot run \"cat\": Too many open files");
            EXPECT_EQ(evaluation.outcome, room ? Outcome::Value : Outcome::Broken);
        }
    }
}

}  // namespace
