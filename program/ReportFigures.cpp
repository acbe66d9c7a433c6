#include "program/ReportFigures.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

std::string_view reasonOf(KrEvaluationRecord::Entry const& entry) {
    if (entry.failed) {
        return entry.text.empty() ? std::string_view("no reason given") : entry.text;
    }
    return std::isnan(entry.value) ? "the value NaN" : "an infinitely good value";
}

}  // namespace

ReportFigures::ReportFigures(KrEvaluationRecord const& record)
    : maximise(record.search().maximise()),
      entries(record.entries()),
      runs(record.runs()),
      runSeconds(runs.size(), 0.0) {
    for (KrSearchVariable const* const variable : record.search().variables().vectorContainer()) {
        variables.push_back(variable ? *variable : KrSearchVariable());
    }
    asked.reserve(record.asked().size());
    kinds.reserve(record.asked().size());
    for (std::uint64_t const ticket : record.asked()) {
        KrEvaluationRecord::Entry const& entry = entries.at(ticket);
        asked.push_back(&entry);
        kinds.push_back(kindOf(record.search(), entry));
        if (kinds.back() == Kind::Failed) {
            ++failures;
            ++reasons[reasonOf(entry)];
        } else if (kinds.back() == Kind::Infeasible) {
            ++infeasible;
        } else {
            rank(asked.size() - 1);
        }
    }
    auto tickets = record.asked();
    std::ranges::sort(tickets);
    tickets.erase(std::unique(tickets.begin(), tickets.end()), tickets.end());
    unasked = entries.size() - tickets.size();
    for (auto const& [ticket, entry] : entries) {
        workers = std::max(workers, std::size_t{entry.worker} + 1);
        double const end = entry.start + entry.seconds;
        if (entry.run < runSeconds.size() && std::isfinite(end)) {
            runSeconds[entry.run] = std::max(runSeconds[entry.run], end);
        }
    }
    for (double const each : runSeconds) {
        seconds += each;
    }
}

// By the rules of the search.
auto ReportFigures::kindOf(KrSearch const& search, KrEvaluationRecord::Entry const& entry) const
    -> Kind {
    double const infinitelyGood = (maximise ? 1.0 : -1.0) * std::numeric_limits<double>::infinity();
    if (entry.failed || std::isnan(entry.value) || entry.value == infinitelyGood) {
        return Kind::Failed;
    }
    auto const& constraints = search.constraints().vectorContainer();
    bool const isFeasible = std::ranges::all_of(constraints, [&](auto const* constraint) {
        return !constraint || constraint->evaluate(entry.point) <= 0.0;
    });
    return isFeasible ? Kind::Feasible : Kind::Infeasible;
}

// Of equal values the first is the better one. A point that was asked for again counts once.
void ReportFigures::rank(std::size_t evaluation) {
    constexpr std::size_t most = 10;
    KrEvaluationRecord::Entry const& entry = at(evaluation);
    if (improvements.empty() || isBetter(entry.value, best().value)) {
        improvements.push_back(evaluation);
    }
    auto const place = std::ranges::find_if(
        top, [&](std::size_t other) { return isBetter(entry.value, at(other).value); });
    if ((place == top.end() && top.size() == most) ||
        std::ranges::any_of(top, [&](std::size_t other) { return &at(other) == &entry; })) {
        return;
    }
    top.insert(place, evaluation);
    top.resize(std::min(top.size(), most));
}
