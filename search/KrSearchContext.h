#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <stop_token>

class KrEvaluationRecord;
class KrSearchReport;

/// One evaluation of a search, as an observer sees it. The references are valid during the call.
struct KrSearchProgress {
    KrU32 evaluation;               ///< its number in the search, from 0 on
    KrRealVector const& point;      ///< physical, inside the bounds
    double value;                   ///< the function's own value; NaN if it has none
    bool failed;                    ///< whether the point has no value
    bool isFromRecord;              ///< the record, or the memory of the search, had the value
    KrRealVector const& bestPoint;  ///< the best feasible point so far, empty if there is none
    double bestValue;               ///< the function's own value there; NaN if there is none
    double seconds;                 ///< since the run began
};

/// Watches a search. It gets points and values, and never the optimizer. If searches of several
/// threads share an observer, all of these threads call it.
class KR_EXPORT KrSearchObserver {
public:
    virtual ~KrSearchObserver();

    /// Called after each evaluation, in the order of the search, on the thread that runs it. An
    /// exception ends the search and reaches the caller of `KrSearch::run`.
    virtual void evaluated(KrSearchProgress const& progress) = 0;
};

/// What belongs to one run of a search. Every pointer may be null. During the run nothing else may
/// use these objects.
///
///     search.run(f, {.record = &record, .stop = signals.token()});
struct KrSearchContext {
    KrSearchObserver* observer = nullptr;  ///< watches each evaluation
    KrEvaluationRecord* record = nullptr;  ///< has the values of earlier runs, and gets the new
    KrSearchReport* report = nullptr;      ///< is filled also if an exception passes
    std::stop_token stop = {};             ///< ends the search as `cancelled`
};
