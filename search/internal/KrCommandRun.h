#pragma once

#include <poll.h>
#include <sys/types.h>

#include <chrono>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// A file descriptor that closes itself. It is closed in programs that this process starts.
class KrDescriptor {
public:
    KrDescriptor() = default;
    explicit KrDescriptor(int number) : number_(number) {}
    KrDescriptor(KrDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    KrDescriptor& operator=(KrDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~KrDescriptor() { close(); }

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    void close();

private:
    int number_ = -1;
};

/// A pipe.
struct KrPipe {
    /// Opens both ends, or none if there is no descriptor left; errno says why.
    static KrPipe open();

    KrDescriptor reader;  ///< does not block
    KrDescriptor writer;
};

/// One run of a program: a process that leads a group of its own. An object serves one run after
/// another.
class KrCommandRun {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// What is run, complete before a process is made.
    struct Program {
        std::string path;
        std::vector<std::string> arguments;    ///< the first is the program's name
        std::vector<std::string> environment;  ///< NAME=value
        std::string input;                     ///< what its standard input holds
        bool catchesErrors = false;            ///< keeps its standard error for `takeErrors`
    };

    /// Starts the program. Returns 0, or the system's error if no process can be made. If the
    /// process cannot run the program, `error` says so at the end.
    int start(Program const& program);

    bool isUnderWay() const { return group_ != 0; }
    /// Whether `poll` does not see the run's end.
    bool isBlind() const { return isUnderWay() && !exit_.isOpen(); }
    bool isCancelled() const { return killTime_ != Time::max(); }
    /// When the group is killed, `Time::max()` if the run is not cancelled.
    Time killTime() const { return killTime_; }

    static constexpr std::size_t pollCount = 3;
    /// What `poll` waits for.
    void setPolls(std::span<pollfd, pollCount> polls) const;
    /// Reads what `poll` has found. True if the run has ended; its group is gone or killed then.
    bool update(std::span<pollfd const, pollCount> polls);

    /// Sends SIGTERM to the group. From `killTime` on, `update` kills it.
    void cancel(Time killTime);

    /// After the run: 0, or the system's error if the program could not be started, or ECHILD if
    /// its status is lost.
    int error() const { return error_; }
    /// After the run: its status, as `waitpid` gives it.
    int status() const { return status_; }
    /// The last of the standard output.
    std::string const& output() const { return output_; }
    /// The standard error that came since the last call, in whole lines.
    std::string takeErrors();

private:
    void reap();

    pid_t process_ = 0;  // 0 when it has ended
    pid_t group_ = 0;    // 0 when all of it has ended
    Time killTime_ = Time::max();
    KrDescriptor exit_;
    KrDescriptor report_;
    KrDescriptor outputEnd_;
    KrDescriptor errorsEnd_;
    std::string output_;
    std::string errors_;
    int error_ = 0;
    int status_ = 0;
};
