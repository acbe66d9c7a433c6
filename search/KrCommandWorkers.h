#pragma once

#include "search/KrEvaluationWorkers.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Evaluates a point by one run of a program, up to `count` runs at a time. One thread owns an
/// object and makes all calls.
///
/// A run gets the point in two ways. Its standard input is a file with the coordinates on one line,
/// separated by blanks, each the shortest text with the same bits. In its arguments, `{name}` is
/// replaced by the value of that variable; any other brace stays.
///
/// Its environment is that of this object's construction with two variables more:
/// `ZEIBREKU_EVALUATION` is the ticket, and `ZEIBREKU_WORKER` a number below `count` that no other
/// run has at the same time, so that each can have a folder of its own.
///
/// The value is the last line of its standard output that is not empty. "1.5D+3", "inf" and "nan"
/// are numbers too, in any locale. Only the last 64 KB of the output count. An exit status other
/// than 0, and a last line that is not a number in the range of double, are failures.
///
/// If a signal ends a run, the run is repeated once. The second time the outcome is `Broken`. If no
/// process or descriptor is left, an evaluation waits until another one ends. If no other is under
/// way, the outcome is `Broken`.
///
/// A run leads a process group of its own, with default signal handling. It ends when its process
/// ends, and what is left in the group is killed. If a program must outlive the run, start it with
/// `setsid`. `cancel` sends SIGTERM to the groups, and SIGKILL 2 s later.
///
/// On Linux a run is killed if the thread that started it ends, so that it does not outlive this
/// process. `start` and `finish` start runs: call them on a thread that outlives the runs. Only the
/// program itself is killed then, not what it has started.
///
/// Cost: an evaluation of a trivial program took 0.63 ms, 0.05 ms more than `posix_spawn` and
/// `waitpid` alone.
class KR_EXPORT KrCommandWorkers : public KrEvaluationWorkers {
public:
    /// Runs `command`: a program, looked up in PATH unless it has a "/", and its arguments. `names`
    /// are those of the variables, in their order. Throws `std::system_error` if no file descriptor
    /// is left.
    explicit KrCommandWorkers(std::vector<std::string> command, KrU32 count = 1,
                              std::vector<std::string> names = {});
    /// Cancels the runs that are under way, and waits for their end.
    ~KrCommandWorkers() override;

    /// Why the command cannot be run; empty if it can. Check it before a search: otherwise the
    /// first evaluation is `Broken`.
    std::string const& problem() const;

    /// Sets what gets the standard error of the runs, in whole lines. `finish` calls it, and passes
    /// its exceptions on. Set it before the first run. Default: none; the runs write to the
    /// standard error of this process.
    void setErrorOutput(std::function<void(std::string_view)> output);

    /// Sets the number of the first worker, from which `ZEIBREKU_WORKER` counts. Set it if several
    /// processes evaluate for one search. Default: 0.
    void setFirstWorker(KrU32 number);

    KrU32 count() const override;
    void start(std::span<KrEvaluationRequest const> requests) override;
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override;
    void cancel() override;

private:
    struct State;
    std::unique_ptr<State> state_;
};
