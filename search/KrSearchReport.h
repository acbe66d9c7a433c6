#pragma once

#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "search/KrSearchNames.h"

#include <limits>
#include <string>

/// Why a search ended.
enum class KrSearchReason : unsigned short {
    Finished,     ///< the optimizer returned
    Target,       ///< a feasible point is as good as `targetValue`
    Stalled,      ///< no improvement in `stallEvaluations` evaluations
    Evaluations,  ///< `maxEvaluations` were spent
    Time,         ///< `maxSeconds` were spent
    Cancelled,    ///< a stop was requested
    Failed        ///< the search was refused, threw, or got no value at all
};

/// How a search ended, and what it found.
///
///     <searchReport><reason>finished</reason> ... </searchReport>
///
/// Use one object in one thread at a time.
class KR_EXPORT KrSearchReport : public KrTaggedElement<KrSearchReport, KrBaseExpressionTreeElement,
                                                        KrSearchNames::KrSearchReportToken> {
public:
    KrSearchReport();

    /// Why the search ended: `finished`, `target`, `stalled`, `evaluations`, `time`, `cancelled`
    /// or `failed`. Default: failed.
    KrSearchReason reason() const { return static_cast<KrSearchReason>(reason_.value()); }
    /// The text of the reason, as in a document.
    std::string reasonText() const;

    /// The best feasible point of all evaluations, in physical coordinates; empty if there is
    /// none. Default: empty.
    KrXmlRealVector const& bestPoint() const { return bestPoint_; }
    /// The function's own value at `bestPoint`; NaN if there is none. Default: NaN.
    double bestValue() const { return bestValue_; }

    /// The point that the optimizer returned, in physical coordinates and inside the bounds;
    /// empty if it did not return. Default: empty.
    KrXmlRealVector const& answerPoint() const { return answerPoint_; }
    /// The function's own value at `answerPoint`, without penalties. If the function fails there
    /// and the search does not remember, it is what stood in for the value. Default: NaN.
    double answer() const { return answer_; }

    /// How many evaluations the search asked for, wherever their values came from. Default: 0.
    KrU32 evaluations() const { return evaluations_; }
    /// How many evaluations were made in this run. Default: 0.
    KrU32 evaluationsMade() const { return evaluationsMade_; }
    /// How many evaluations took their value from the record. Default: 0.
    KrU32 evaluationsFromRecord() const { return evaluationsFromRecord_; }
    /// How many evaluations ended before the search asked for their points, those that it never
    /// asked for included. Default: 0.
    KrU32 evaluationsSpeculated() const { return evaluationsSpeculated_; }
    /// How many of the evaluations failed. Default: 0.
    KrU32 failures() const { return failures_; }
    /// How long this run took, in seconds. Default: 0.
    double seconds() const { return seconds_; }

    /// The report for a person, some lines of text. `names` are those of the variables.
    std::string text(std::vector<std::string> const& names = {}) const;

    void registerComponents() override;

    /// Compares all components; NaN equals NaN.
    bool operator==(KrSearchReport const& other) const;

private:
    friend class KrSearchRun;

    KrXmlEnumType<unsigned short> reason_{static_cast<unsigned short>(KrSearchReason::Failed)};
    KrXmlRealVector bestPoint_;
    KrXmlBasicType<double> bestValue_{std::numeric_limits<double>::quiet_NaN()};
    KrXmlRealVector answerPoint_;
    KrXmlBasicType<double> answer_{std::numeric_limits<double>::quiet_NaN()};
    KrXmlBasicType<KrU32> evaluations_{0};
    KrXmlBasicType<KrU32> evaluationsMade_{0};
    KrXmlBasicType<KrU32> evaluationsFromRecord_{0};
    KrXmlBasicType<KrU32> evaluationsSpeculated_{0};
    KrXmlBasicType<KrU32> failures_{0};
    KrXmlBasicType<double> seconds_{0.0};
};
