#include "search/KrCommandWorkers.h"

#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlText.h"
#include "search/internal/KrCommandRun.h"
#include "search/internal/KrRecordText.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <optional>
#include <system_error>

KR_SOURCE_VERSION;

namespace {

using Time = KrEvaluationWorkers::Time;

constexpr std::chrono::seconds grace{2};  // between SIGTERM and SIGKILL

// Between two looks at a process that poll cannot wait for.
constexpr std::chrono::milliseconds shortestNap{1};
constexpr std::chrono::milliseconds longestNap{50};

bool isProgram(std::string const& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

// The path of a program as execvp finds it, empty if there is none. An empty folder in PATH is the
// current one.
std::string programPath(std::string const& name) {
    if (name.empty() || name.find('/') != std::string::npos) {
        return isProgram(name) ? name : "";
    }
    char const* const variable = std::getenv("PATH");
    std::string_view folders = variable ? variable : "/bin:/usr/bin";
    while (true) {
        std::size_t const end = std::min(folders.find(':'), folders.size());
        std::string path(folders.substr(0, end));
        path += path.empty() ? "./" : "/";
        path += name;
        if (isProgram(path)) {
            return path;
        }
        if (end == folders.size()) {
            return "";
        }
        folders.remove_prefix(end + 1);
    }
}

std::vector<std::string> environmentWithoutOurs() {
    std::vector<std::string> all;
    for (char** entry = environ; entry && *entry; ++entry) {
        std::string_view const text = *entry;
        if (!text.starts_with("ZEIBREKU_EVALUATION=") && !text.starts_with("ZEIBREKU_WORKER=")) {
            all.emplace_back(text);
        }
    }
    return all;
}

// `text` with the values of the variables in place of their names in braces.
std::string filled(std::string_view text, std::vector<std::string> const& names,
                   KrRealVector const& point) {
    std::string result;
    while (!text.empty()) {
        if (text.front() == '{') {
            std::size_t const end = std::min(text.find('}'), text.size());
            auto const name = std::ranges::find(names, text.substr(1, end - 1));
            auto const index = static_cast<std::size_t>(name - names.begin());
            if (end < text.size() && index < std::min(names.size(), point.size())) {
                result += KrRecordText::number(point[index]);
                text.remove_prefix(end + 1);
                continue;
            }
        }
        result += text.front();
        text.remove_prefix(1);
    }
    return result;
}

std::string_view lastLine(std::string_view output) {
    output = krXmlTrimmed(output);
    return krXmlTrimmed(output.substr(output.rfind('\n') + 1));
}

// A number as programs write it.
std::optional<double> parsed(std::string_view line) {
    std::string text(line);
    std::ranges::replace(text, 'D', 'e');
    std::ranges::replace(text, 'd', 'e');
    bool const hasPlus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    char const* const begin = text.data() + (hasPlus ? 1 : 0);
    char const* const end = text.data() + text.size();
    double value = 0.0;
    auto const [rest, error] = std::from_chars(begin, end, value);
    return error == std::errc() && rest == end ? std::optional(value) : std::nullopt;
}

}  // namespace

struct KrCommandWorkers::State {
    struct Job {
        KrEvaluationRequest request;
        std::optional<Time> begin;  // of its first run
        bool isRepeated = false;
    };
    struct Worker {
        KrCommandRun run;
        Job job;
    };

    void launch();
    void launch(KrU32 number);
    bool isRunning() const;
    void collect(Time until);
    int timeout(Time until);
    void conclude(KrU32 number);
    void putBack(Job job, KrU32 number, int error);
    void add(Job const& job, KrU32 number, KrEvaluation::Outcome outcome, std::string text);
    void passErrors();

    std::string name;
    std::vector<std::string> arguments;
    std::vector<std::string> names;
    KrCommandRun::Program program;
    std::string problem;
    std::function<void(std::string_view)> errorOutput;
    std::vector<Worker> workers;
    KrU32 firstWorker = 0;
    std::deque<Job> waiting;
    std::vector<KrEvaluation> ended;
    std::string errors;    // not passed on yet
    bool isShort = false;  // no run can start before another ends
    KrPipe wake = KrPipe::open();
    std::vector<pollfd> polls;
    std::chrono::milliseconds nap = shortestNap;
};

// --- The runs.

// Starts as many as there is room for.
void KrCommandWorkers::State::launch() {
    for (KrU32 i = 0; i < workers.size() && !waiting.empty() && !isShort; ++i) {
        if (!workers[i].run.isUnderWay()) {
            launch(i);
        }
    }
}

void KrCommandWorkers::State::launch(KrU32 number) {
    auto& [run, job] = workers[number];
    job = std::move(waiting.front());
    waiting.pop_front();
    job.begin = job.begin.value_or(std::chrono::steady_clock::now());
    if (!problem.empty()) {
        add(job, number, KrEvaluation::Outcome::Broken, problem);
        return;
    }
    KrRealVector const& point = job.request.point;
    program.arguments.assign(1, name);
    for (std::string const& argument : arguments) {
        program.arguments.push_back(filled(argument, names, point));
    }
    program.input.clear();
    for (double const coordinate : point) {
        program.input += (program.input.empty() ? "" : " ") + KrRecordText::number(coordinate);
    }
    program.input += '\n';
    std::string* const ours = &program.environment.back() - 1;
    ours[0] = "ZEIBREKU_EVALUATION=" + std::to_string(job.request.ticket);
    ours[1] = "ZEIBREKU_WORKER=" + std::to_string(firstWorker + number);
    program.catchesErrors = static_cast<bool>(errorOutput);
    if (int const error = run.start(program); error != 0) {
        putBack(std::move(job), number, error);
    }
}

bool KrCommandWorkers::State::isRunning() const {
    return std::ranges::any_of(workers, [](Worker const& w) { return w.run.isUnderWay(); });
}

// Waits until something happens, and takes the runs that have ended.
void KrCommandWorkers::State::collect(Time until) {
    constexpr std::size_t each = KrCommandRun::pollCount;
    polls.assign(1, {wake.reader.number(), POLLIN, 0});
    std::vector<KrU32> running;
    for (KrU32 i = 0; i < workers.size(); ++i) {
        if (workers[i].run.isUnderWay()) {
            running.push_back(i);
            polls.resize(polls.size() + each);
            workers[i].run.setPolls(std::span<pollfd, each>(polls.end() - each, each));
        }
    }
    if (running.empty()) {
        return;
    }
    if (poll(polls.data(), polls.size(), timeout(until)) > 0) {
        nap = shortestNap;
    }
    if (polls[0].revents != 0) {
        std::array<char, 64> bytes;
        static_cast<void>(!read(wake.reader.number(), bytes.data(), bytes.size()));
    }
    for (std::size_t i = 0; i < running.size(); ++i) {
        KrCommandRun& run = workers[running[i]].run;
        bool const isOver =
            run.update(std::span<pollfd const, each>(polls.data() + 1 + each * i, each));
        errors += run.takeErrors();
        if (isOver) {
            conclude(running[i]);
        }
    }
}

// In milliseconds, rounded up.
int KrCommandWorkers::State::timeout(Time until) {
    Time const now = std::chrono::steady_clock::now();
    bool isBlind = false;
    for (Worker const& worker : workers) {
        Time const killTime = worker.run.killTime();
        isBlind = isBlind || worker.run.isBlind() || killTime <= now;
        until = killTime > now ? std::min(until, killTime) : until;
    }
    if (until <= now) {
        return 0;
    }
    std::chrono::milliseconds time = std::chrono::hours(1);
    if (until - now < time) {
        time = std::chrono::ceil<std::chrono::milliseconds>(until - now);
    }
    if (isBlind) {
        time = std::min(time, nap);
        nap = std::min(2 * nap, longestNap);
    }
    return static_cast<int>(time.count());
}

// Turns a run that has ended into an evaluation, or has it made again.
void KrCommandWorkers::State::conclude(KrU32 number) {
    using enum KrEvaluation::Outcome;
    auto& [run, job] = workers[number];
    isShort = false;
    if (run.isCancelled()) {
        add(job, number, Cancelled, "");
    } else if (run.error() == ECHILD) {
        add(job, number, Broken,
            "expected the exit status of " + krXmlQuoted(name) +
                ", found none: SIGCHLD is ignored, or another wait took it");
    } else if (run.error() != 0) {
        putBack(std::move(job), number, run.error());
    } else if (WIFSIGNALED(run.status()) && job.isRepeated) {
        int const signal = WTERMSIG(run.status());
        add(job, number, Broken,
            krXmlQuoted(name) + " was ended twice by a signal, the second time by " +
                std::to_string(signal) + " (" + strsignal(signal) + ")");
    } else if (WIFSIGNALED(run.status())) {
        job.isRepeated = true;
        waiting.push_front(std::move(job));
    } else if (WEXITSTATUS(run.status()) != 0) {
        add(job, number, Failure, "exit status " + std::to_string(WEXITSTATUS(run.status())));
    } else if (auto const value = parsed(lastLine(run.output()))) {
        add(job, number, Value, "");
        ended.back().value = *value;
    } else {
        add(job, number, Failure,
            "expected a number in the last line of the output, found " +
                krXmlQuoted(lastLine(run.output())));
    }
}

// If another run is under way, its end may make room for what could not be started.
void KrCommandWorkers::State::putBack(Job job, KrU32 number, int error) {
    bool const isShortage =
        error == EAGAIN || error == EMFILE || error == ENFILE || error == ENOMEM;
    if (isShortage && isRunning()) {
        waiting.push_front(std::move(job));
        isShort = true;
    } else {
        add(job, number, KrEvaluation::Outcome::Broken,
            "cannot run " + krXmlQuoted(name) + ": " + std::generic_category().message(error));
    }
}

void KrCommandWorkers::State::add(Job const& job, KrU32 number, KrEvaluation::Outcome outcome,
                                  std::string text) {
    KrEvaluation& evaluation = ended.emplace_back();
    evaluation.ticket = job.request.ticket;
    evaluation.outcome = outcome;
    evaluation.text = std::move(text);
    evaluation.worker = number;
    if (job.begin) {
        evaluation.seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - *job.begin).count();
    }
}

void KrCommandWorkers::State::passErrors() {
    std::string const text = std::exchange(errors, {});
    if (!text.empty() && errorOutput) {
        errorOutput(text);
    }
}

// --- The workers.

KrCommandWorkers::KrCommandWorkers(std::vector<std::string> command, KrU32 count,
                                   std::vector<std::string> names)
    : state_(std::make_unique<State>()) {
    State& state = *state_;
    if (!state.wake.reader.isOpen()) {
        throw std::system_error(errno, std::generic_category(), "KrCommandWorkers");
    }
    if (!command.empty()) {
        state.name = std::move(command.front());
        state.arguments.assign(std::move_iterator(command.begin() + 1),
                               std::move_iterator(command.end()));
    }
    state.names = std::move(names);
    state.program.path = programPath(state.name);
    state.program.environment = environmentWithoutOurs();
    state.program.environment.resize(state.program.environment.size() + 2);
    if (state.program.path.empty()) {
        state.problem = "command: expected an executable program, found " + krXmlQuoted(state.name);
    }
    state.workers = std::vector<State::Worker>(std::max<KrU32>(count, 1));
}

KrCommandWorkers::~KrCommandWorkers() {
    KrCommandWorkers::cancel();
    while (state_->isRunning()) {
        state_->collect(Time::max());
    }
}

std::string const& KrCommandWorkers::problem() const { return state_->problem; }

void KrCommandWorkers::setErrorOutput(std::function<void(std::string_view)> output) {
    state_->errorOutput = std::move(output);
}

void KrCommandWorkers::setFirstWorker(KrU32 number) { state_->firstWorker = number; }

KrU32 KrCommandWorkers::count() const { return static_cast<KrU32>(state_->workers.size()); }

void KrCommandWorkers::start(std::span<KrEvaluationRequest const> requests) {
    for (KrEvaluationRequest const& request : requests) {
        state_->waiting.push_back({request, {}, false});
    }
    state_->launch();
}

bool KrCommandWorkers::finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) {
    State& state = *state_;
    std::stop_callback const wake(
        stop, [end = state.wake.writer.number()] { static_cast<void>(!write(end, "", 1)); });
    while (true) {
        bool const isStopped = stop.stop_requested();
        if (!isStopped) {
            state.launch();
        }
        bool const isLate = isStopped || std::chrono::steady_clock::now() >= until;
        state.collect(isLate || !state.ended.empty() ? Time::min() : until);
        state.passErrors();
        if (!state.ended.empty()) {
            if (!stop.stop_requested()) {
                state.launch();
            }
            all.insert(all.end(), std::move_iterator(state.ended.begin()),
                       std::move_iterator(state.ended.end()));
            state.ended.clear();
            return true;
        }
        if (isLate || (state.waiting.empty() && !state.isRunning())) {
            return false;
        }
    }
}

void KrCommandWorkers::cancel() {
    State& state = *state_;
    state.collect(Time::min());  // what has ended is finished
    for (State::Job const& job : std::exchange(state.waiting, {})) {
        state.add(job, 0, KrEvaluation::Outcome::Cancelled, "");
    }
    for (State::Worker& worker : state.workers) {
        if (worker.run.isUnderWay() && !worker.run.isCancelled()) {
            worker.run.cancel(std::chrono::steady_clock::now() + grace);
        }
    }
}
