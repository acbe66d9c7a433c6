#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "search/KrEvaluation.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class KrSearch;

/// The evaluations of a search, in memory or in a file that grows while the search runs. A search
/// with a record takes its values and continues where they end. The result has the bits of a search
/// that was never interrupted, on another machine too.
///
///     KrEvaluationRecord record("search.record");
///     search.run(f, {.record = &record});
///
/// The file is text, one line for each fact, and only grows:
///
///     zeibreku-record 1
///     <search xmlns="urn:zeibreku:function#">...</search> 5a1e77c0
///     r 2026-11-21T22:15:00Z host 4711 2.0.0 1000 3600 NaN 0 0 0badcafe
///     e 0 0 0.000 1.520 3 0.3 17.25 8d9f21aa
///     e 1 0 1.520 1.500 3.5 0.3 failed "exit status 1" 01b3c2d4
///     a 0 0 77aa01ff
///
/// The second line is the search. A line `r` is one run: when, host, process, version, and
/// `maxEvaluations`, `maxSeconds`, `targetValue`, `stallEvaluations` and `stallImprovement`. A
/// line `e` is an evaluation when it completes: ticket, worker, start and duration in seconds,
/// coordinates, and the value or the reason of a failure. A line `a` gives the search's own
/// evaluation of that number its ticket, in order. Numbers have the shortest text with the same
/// bits. Each line but the first ends with the CRC-32 of what stands before it.
///
/// One process at a time writes to a file. A last line that is torn, as a kill leaves it, is cut
/// off with a message. Any other damage is refused with its line, and nothing is evaluated. If a
/// write fails, one message is printed and what is written stays. The search continues without the
/// record, or ends if `setEndsOnError` was called.
///
/// An evaluation costs one `write`, and one `fdatasync` if each is made durable.
///
/// Use one object in one thread at a time. A search uses it while it runs.
class KR_EXPORT KrEvaluationRecord {
public:
    /// One evaluation.
    struct Entry {
        KrRealVector point;    ///< in physical coordinates
        double value = 0.0;    ///< the function's own; NaN if it has none
        bool failed = false;   ///< whether the point has no value
        std::string text;      ///< the reason of a failure
        KrU32 worker = 0;      ///< which of the workers, from 0 on
        double start = 0.0;    ///< seconds since its run began
        double seconds = 0.0;  ///< what the evaluation took
        std::size_t run = 0;   ///< which of `runs`
    };
    /// One run of the search.
    struct Run {
        std::string time;         ///< when it began, UTC
        std::string host;         ///< the name of the machine
        std::string process;      ///< the number of the process
        std::string version;      ///< of the library
        std::size_t evaluations;  ///< that the search had asked for when the run began
    };

    /// A record in memory.
    KrEvaluationRecord();
    /// The record in the file `path`, which `KrSearch::run` opens, or creates.
    explicit KrEvaluationRecord(std::string path);
    ~KrEvaluationRecord();
    KrEvaluationRecord(KrEvaluationRecord const&) = delete;
    KrEvaluationRecord& operator=(KrEvaluationRecord const&) = delete;

    /// Makes the record durable with the first evaluation that is written `seconds` or more after
    /// the last time, and at the end of a run. 0 is every evaluation, INF is never. Default: 1.
    void setDurableAfter(double seconds) { durableAfter_ = seconds; }
    /// Whether a write that fails ends the search, as `cancelled`. Default: false.
    void setEndsOnError(bool ends) { endsOnError_ = ends; }

    /// Reads the file without locking or changing it, also while a search writes to it: for
    /// reports. False, with a message, if it is no record.
    bool load();

    /// The search of the file, or of the last run. Only after a successful `load` or run.
    KrSearch const& search() const { return *search_; }
    /// All evaluations by their tickets.
    std::map<std::uint64_t, Entry> const& entries() const { return entries_; }
    /// The tickets of the search's own evaluations, in order.
    std::vector<std::uint64_t> const& asked() const { return asked_; }
    /// The runs, in order.
    std::vector<Run> const& runs() const { return runs_; }

    /// Replays the record and evaluates nothing: "same", or the first evaluation at which the
    /// search now asks for another point, with both points. Only after a successful `load`
    /// or run.
    std::string verify() const;

private:
    friend class KrAskTell;
    friend class KrSearchRun;
    class File;

    // For several runs in a row: `begin` and `end` do nothing between these two.
    bool hold(KrSearch const& search);
    void release() {
        isHeld_ = false;
        end();
    }

    bool begin(KrSearch const& search);
    bool add(std::uint64_t ticket, Entry entry, bool isTaken);
    bool take(std::uint64_t ticket);
    bool flush();
    void end();
    std::uint64_t nextTicket() const { return entries_.empty() ? 0 : entries_.rbegin()->first + 1; }

    bool openFile(KrSearch const& search);
    bool parse(std::string_view text, std::size_t& good, KrSearch const& prototype);
    bool parseLine(std::string_view line, std::size_t number, KrSearch const& prototype);
    bool parseLimits(std::string_view text);
    bool refuse(std::size_t line, std::string const& expected) const;
    bool isSame(KrSearch const& search) const;
    bool append(std::string const& lines);

    std::string path_;
    std::unique_ptr<File> file_;
    std::string lines_;  // not written yet
    std::unique_ptr<KrSearch> search_;
    std::map<std::uint64_t, Entry> entries_;
    std::vector<std::uint64_t> asked_;
    std::vector<Run> runs_;
    double durableAfter_ = 1.0;
    bool endsOnError_ = false;
    bool isHeld_ = false;
};
