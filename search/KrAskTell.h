#pragma once

#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"

#include <memory>
#include <string>
#include <vector>

/// A search whose evaluations a program makes itself, when and where it likes: it takes points and
/// brings their values.
///
///     KrAskTell asking(search, &record);
///     while (!asking.finished()) {
///         for (KrRealVector const& x : asking.next(8)) {
///             asking.tell(x, simulate(x));
///         }
///     }
///
/// Points identify evaluations: values may come in any order, and a point whose job was lost is
/// given again. Between two calls the record holds everything, so that a program may end and
/// another one continue. The answer has the bits of `KrSearch::run`, and so have the points that it
/// asked for. `maxSeconds` of the search does not count.
///
/// The first call of `next`, `finished` or `report` after new values replays the search. It costs
/// some hundred nanoseconds for each evaluation so far. For several points it also predicts: less
/// than 1 ms for 8 points in 20 variables, and at most 1 s.
///
/// Use one object in one thread at a time.
class KR_EXPORT KrAskTell {
public:
    /// Asks for the points of `search`. `record`, which must outlive this object, keeps the values;
    /// null keeps them in memory. A record that is refused ends the search: `report().reason()` is
    /// `failed`.
    explicit KrAskTell(KrSearch const& search, KrEvaluationRecord* record = nullptr);
    ~KrAskTell();
    KrAskTell(KrAskTell const&) = delete;
    KrAskTell& operator=(KrAskTell const&) = delete;

    /// Up to `count` points whose values are wanted: those that the search has asked for, then
    /// those that it will probably ask for next. None if the search has ended. A point is given
    /// again until `tell` brings its value.
    std::vector<KrRealVector> next(KrU32 count = 1);
    /// Brings the value at a point of `next`. NaN is a failure. A point of another length is
    /// refused with a message.
    void tell(KrRealVector const& point, double value);
    /// Notes that a point has no value, with the reason for the record.
    void tellFailure(KrRealVector const& point, std::string const& text);

    /// Whether the search has ended.
    bool finished();
    /// How the search stands, or how it has ended.
    KrSearchReport const& report();

private:
    void replay();
    void add(KrRealVector const& point, KrEvaluationRecord::Entry entry);

    KrSearch search_;
    std::unique_ptr<KrEvaluationRecord> own_;
    KrEvaluationRecord* record_;
    KrU32 count_ = 1;                   // the largest that `next` was called with
    std::vector<KrRealVector> wanted_;  // those asked for, then those that are predicted
    std::size_t asked_ = 0;             // how many of them were asked for
    bool isHolding_ = false;            // the record
    bool isTold_ = false;               // a value since the last replay
    KrSearchReport report_;
    bool isReplayed_ = false;
    bool isRecordFull_ = false;  // it cannot be written, and the search ends then
    bool finished_ = false;
};
