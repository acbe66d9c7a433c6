#include "search/internal/KrCommandRun.h"

#include "foundation/core/KrExport.h"
#include "foundation/core/internal/KrFileSizeSignal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#ifdef __linux__
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

KR_SOURCE_VERSION;

namespace {

constexpr std::size_t outputKept = std::size_t{64} * 1024;
constexpr std::size_t longestLine = outputKept;  // of standard error

// The descriptors 0 to 2 are the program's. A process that has closed its own would get them.
KrDescriptor aboveStandard(int number) {
    KrDescriptor low(number);
    if (number < 0 || number > 2) {
        return low;
    }
    return KrDescriptor(fcntl(number, F_DUPFD_CLOEXEC, 3));
}

// Returns the error, 0 if there is none. A limit on the size of files counts for each file.
int writeAll(int descriptor, std::string const& text) {
    KrFileSizeSignal const blocked;
    ssize_t const count = pwrite(descriptor, text.data(), text.size(), 0);
    return count == static_cast<ssize_t>(text.size()) ? 0 : count < 0 ? errno : EFBIG;
}

// A file without a name.
KrDescriptor makeInput(std::string const& text) {
#ifdef __linux__
    KrDescriptor file = aboveStandard(memfd_create("zeibreku", MFD_CLOEXEC));
#else
    std::string path = (std::filesystem::temp_directory_path() / "zeibreku-XXXXXX").string();
    KrDescriptor file = aboveStandard(mkostemp(path.data(), O_CLOEXEC));
    if (file.isOpen()) {
        unlink(path.c_str());
    }
#endif
    if (int const error = file.isOpen() ? writeAll(file.number(), text) : 0; error != 0) {
        file.close();
        errno = error;
    }
    return file;
}

// What the new process needs. It may not allocate: another thread may hold the heap's lock.
struct Launch {
    char const* path;
    char** shellArguments;  // "/bin/sh", then those of the program
    char** environment;
    int input;
    int output;
    int errors;
    int report;
    pid_t parent;
};

constexpr int notStarted = 127;

// In the new process: only async-signal-safe calls.
[[noreturn]] void becomeProgram(Launch const& launch) {
    setpgid(0, 0);
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != launch.parent) {  // it died before
        _exit(notStarted);
    }
#endif
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal) {
        sigaction(signal, &action, nullptr);
    }
    if (dup2(launch.input, 0) >= 0 && dup2(launch.output, 1) >= 0 &&
        (launch.errors < 0 || dup2(launch.errors, 2) >= 0)) {
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execve(launch.path, launch.shellArguments + 1, launch.environment);
        if (errno == ENOEXEC) {  // a script without "#!"
            launch.shellArguments[1] = const_cast<char*>(launch.path);
            execve(launch.shellArguments[0], launch.shellArguments, launch.environment);
        }
    }
    int const error = errno;
    static_cast<void>(!write(launch.report, &error, sizeof error));
    _exit(notStarted);
}

// vfork shares this process's memory until the program is there, as posix_spawn does, which cannot
// end a process with its parent. With fork a run took 0.2 ms longer, and 60 to 115 ms with 1 GB in
// use.
pid_t makeProcess(Launch const& launch) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);  // no handler of ours may run in it
    pid_t const process = vfork();
    if (process == 0) {
        becomeProgram(launch);
    }
    int const error = errno;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return process;
}

std::vector<char*> pointers(std::vector<std::string> const& texts) {
    std::vector<char*> all;
    all.reserve(texts.size() + 2);
    for (std::string const& text : texts) {
        all.push_back(const_cast<char*>(text.c_str()));
    }
    all.push_back(nullptr);
    return all;
}

// Appends what is there, at most `most` bytes. False at the end of the pipe.
bool receive(KrDescriptor const& end, std::string& text, std::size_t most) {
    std::array<char, outputKept> buffer;
    ssize_t const count = read(end.number(), buffer.data(), std::min(most, buffer.size()));
    if (count > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return count > 0 || (count < 0 && (errno == EAGAIN || errno == EINTR));
}

void keepLast(std::string& text, std::size_t count) {
    if (text.size() > count) {
        text.erase(0, text.size() - count);
    }
}

// Appends what is in the pipe now, and no more: another process may write for ever.
void drain(KrDescriptor& end, std::string& text) {
    int rest = 0;
    if (end.isOpen() && ioctl(end.number(), FIONREAD, &rest) == 0) {
        std::size_t const size = text.size() + static_cast<std::size_t>(std::max(rest, 0));
        while (text.size() < size && receive(end, text, size - text.size())) {
        }
    }
    end.close();
}

}  // namespace

void KrDescriptor::close() {
    if (isOpen()) {
        ::close(std::exchange(number_, -1));
    }
}

KrPipe KrPipe::open() {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {};
    }
    KrPipe pipe{KrDescriptor(ends[0]), aboveStandard(ends[1])};
    if (!pipe.writer.isOpen()) {
        return {};
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return pipe;
}

int KrCommandRun::start(Program const& program) {
    KrDescriptor const input = makeInput(program.input);
    if (!input.isOpen()) {
        return errno;
    }
    KrPipe output = KrPipe::open();
    KrPipe report = KrPipe::open();
    KrPipe errors;
    if (program.catchesErrors) {
        errors = KrPipe::open();
    }
    if (!output.reader.isOpen() || !report.reader.isOpen() ||
        (program.catchesErrors && !errors.reader.isOpen())) {
        return errno;
    }
    std::string shell = "/bin/sh";
    std::vector<char*> arguments = pointers(program.arguments);
    arguments.insert(arguments.begin(), shell.data());
    std::vector<char*> environment = pointers(program.environment);
    pid_t const process = makeProcess({program.path.c_str(), arguments.data(), environment.data(),
                                       input.number(), output.writer.number(),
                                       errors.writer.number(), report.writer.number(), getpid()});
    if (process < 0) {
        return errno;
    }
    setpgid(process, process);  // if vfork is fork, the process may not have done so yet
    process_ = group_ = process;
    killTime_ = Time::max();
    outputEnd_ = std::move(output.reader);
    errorsEnd_ = std::move(errors.reader);
    report_ = std::move(report.reader);
#ifdef SYS_pidfd_open
    exit_ = KrDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
#endif
    output_.clear();
    return 0;
}

void KrCommandRun::setPolls(std::span<pollfd, pollCount> polls) const {
    polls[0] = {exit_.number(), POLLIN, 0};
    polls[1] = {outputEnd_.number(), POLLIN, 0};
    polls[2] = {errorsEnd_.number(), POLLIN, 0};
}

bool KrCommandRun::update(std::span<pollfd const, pollCount> polls) {
    if (polls[1].revents != 0) {
        if (!receive(outputEnd_, output_, outputKept)) {
            outputEnd_.close();
        }
        keepLast(output_, outputKept);
    }
    if (polls[2].revents != 0 && !receive(errorsEnd_, errors_, longestLine)) {
        errorsEnd_.close();
    }
    if (process_ != 0 && (isBlind() || polls[0].revents != 0)) {
        reap();
    }
    bool const isLate = std::chrono::steady_clock::now() >= killTime_;
    if (isLate) {
        kill(-group_, SIGKILL);
    }
    if (process_ != 0) {
        return false;
    }
    if (isCancelled() && !isLate) {
        while (waitpid(-group_, nullptr, WNOHANG) > 0) {  // if this process adopts orphans
        }
        if (kill(-group_, 0) == 0) {
            return false;
        }
    }
    group_ = 0;
    return true;
}

// If the process has ended, takes its status and its output. All that it has written is in the
// pipes, whoever holds them.
void KrCommandRun::reap() {
    siginfo_t info{};
    id_t const id = static_cast<id_t>(process_);
    bool const isLost = waitid(P_PID, id, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
    if (!isLost && info.si_pid == 0) {
        return;
    }
    if (!isCancelled()) {
        kill(-group_, SIGKILL);  // before the wait, after which the number may be another's
    }
    if (!isLost) {
        waitpid(process_, &status_, 0);
    }
    process_ = 0;
    exit_.close();
    drain(outputEnd_, output_);
    keepLast(output_, outputKept);
    drain(errorsEnd_, errors_);
    if (read(report_.number(), &error_, sizeof error_) != sizeof error_) {
        error_ = isLost ? ECHILD : 0;
    }
    report_.close();
}

void KrCommandRun::cancel(Time killTime) {
    kill(-group_, SIGTERM);
    killTime_ = killTime;
}

std::string KrCommandRun::takeErrors() {
    if (!isUnderWay() && !errors_.empty() && errors_.back() != '\n') {
        errors_ += '\n';
    }
    std::size_t const lines = errors_.rfind('\n') + 1;  // 0 if there is none
    std::string text = errors_.substr(0, errors_.size() > longestLine ? errors_.size() : lines);
    errors_.erase(0, text.size());
    return text;
}
