#pragma once

#include "search/KrEvaluationRecord.h"
#include "search/KrSearch.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

/// What a report shows of a record. The record must outlive it, unchanged.
struct ReportFigures {
    /// What an evaluation is to the search.
    enum class Kind : unsigned char { Feasible, Infeasible, Failed };

    explicit ReportFigures(KrEvaluationRecord const& record);

    KrEvaluationRecord::Entry const& at(std::size_t evaluation) const { return *asked[evaluation]; }
    bool isBetter(double a, double b) const { return maximise ? a > b : a < b; }
    /// The search's own evaluation that is the best, if `improvements` is not empty.
    KrEvaluationRecord::Entry const& best() const { return at(improvements.back()); }

    bool maximise;
    std::map<std::uint64_t, KrEvaluationRecord::Entry> const& entries;
    std::vector<KrEvaluationRecord::Run> const& runs;
    std::vector<KrSearchVariable> variables;
    std::vector<KrEvaluationRecord::Entry const*> asked;  ///< the search's own, in order
    std::vector<Kind> kinds;                              ///< of `asked`
    std::vector<std::size_t> improvements;  ///< the evaluations that were the best feasible so far
    std::vector<std::size_t> top;           ///< up to ten feasible evaluations, best first
    std::size_t failures = 0;
    std::size_t infeasible = 0;
    std::size_t unasked = 0;  ///< evaluations that were made and not asked for, so far
    std::map<std::string_view, std::size_t> reasons;  ///< of failures, with how often
    std::size_t workers = 0;                          ///< one more than the highest number
    std::vector<double> runSeconds;                   ///< until the last evaluation of each run
    double seconds = 0.0;                             ///< of all runs

private:
    Kind kindOf(KrSearch const& search, KrEvaluationRecord::Entry const& entry) const;
    void rank(std::size_t evaluation);
};
