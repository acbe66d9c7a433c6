#include "program/ReportPage.h"

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlText.h"
#include "program/Chart.h"
#include "program/ReportCharts.h"
#include "program/ReportFigures.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Entry = KrEvaluationRecord::Entry;

namespace {

constexpr std::string_view style = R"(
:root { color-scheme: light dark; --ink: #1d2430; --soft: #596273; --line: #dfe3ea; --paper: #ffffff;
  --panel: #f6f7f9; --best: #0062a3; --points: #8a94a6; --bad: #b84300; --against: #8f4f7c; }
@media screen and (prefers-color-scheme: dark) {
  :root { --ink: #e4e8ef; --soft: #a3adbd; --line: #333b48; --paper: #12161c; --panel: #1a2028;
    --best: #63b7f0; --points: #7d899c; --bad: #ff9a5c; --against: #d99ac4; } }
* { box-sizing: border-box; }
body { margin: 0 auto; max-width: 62rem; padding: 1.5rem 1.25rem 3rem; background: var(--paper);
  color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
h1 { font-size: 1.5rem; line-height: 1.25; margin: 0 0 .25rem; overflow-wrap: anywhere; }
h2 { font-size: 1.1rem; margin: 2.25rem 0 .5rem; padding-top: .75rem; border-top: 1px solid var(--line); }
p { margin: .4rem 0; max-width: 46rem; }
dl { display: flex; flex-wrap: wrap; gap: .75rem 2.5rem; margin: 1.25rem 0; }
dt { color: var(--soft); font-size: .85rem; }
dd { margin: 0; font-size: 1.3rem; font-variant-numeric: tabular-nums; overflow-wrap: anywhere; }
figure { margin: .75rem 0; break-inside: avoid; }
.multiples figure { max-width: 26rem; }
figcaption { color: var(--soft); font-size: .9rem; }
figcaption b { color: var(--ink); }
svg { display: block; width: 100%; height: auto; font: 12px system-ui, sans-serif; }
.scroll { overflow-x: auto; }
.scroll > svg { min-width: 34rem; }
.multiples { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(18rem, 100%), 1fr));
  gap: .25rem 1.5rem; }
table { border-collapse: collapse; font-size: .9rem; font-variant-numeric: tabular-nums; }
caption { white-space: nowrap; text-align: left; color: var(--soft); padding-bottom: .3rem; }
th, td { padding: .25rem 1.25rem .25rem 0; text-align: right; vertical-align: top;
  border-bottom: 1px solid var(--line); white-space: nowrap; }
th { font-weight: 600; }
thead th { color: var(--soft); font-weight: 500; }
th:first-child, .words td, .words th { text-align: left; }
.words td { white-space: normal; overflow-wrap: anywhere; }
details { margin: .75rem 0; }
summary { cursor: pointer; }
pre { background: var(--panel); padding: .75rem 1rem; overflow-x: auto; font-size: .85rem; }
.grid { stroke: var(--line); }
.axis { stroke: var(--soft); }
.tick { fill: var(--soft); }
.run { stroke: var(--soft); stroke-dasharray: 2 3; }
.run-text { fill: var(--soft); }
.bound { stroke: var(--ink); stroke-dasharray: 6 4; }
.points, .infeasible { fill: none; stroke-width: 3; stroke-linecap: round; stroke: var(--points);
  stroke-opacity: .75; }
.infeasible { stroke: var(--against); }
.failed { stroke: var(--bad); stroke-width: 1.5; }
.best { fill: none; stroke: var(--best); stroke-width: 2; stroke-linejoin: round; }
.block { fill: var(--best); }
.failed-block { fill: var(--bad); }
.best-text, .block-text { color: var(--best); fill: var(--best); font-weight: 600; }
.infeasible-text { color: var(--against); font-weight: 600; }
.failed-text { color: var(--bad); font-weight: 600; }
.points-text { font-weight: 600; }
@media print { body { max-width: none; padding: 0; font-size: 11pt; } .scroll > svg { min-width: 0; } }
)";

std::string number(double value) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(value, room));
}

std::string element(std::string const& name, std::string const& content,
                    std::string const& attributes = "") {
    return '<' + name + (attributes.empty() ? "" : " " + attributes) + '>' + content + "</" + name +
           '>';
}

std::string withId(std::string const& id) { return "id=\"" + id + '"'; }

// A column's or a row's head.
std::string head(std::string const& text, std::string const& scope) {
    return element("th", escapedText(text), "scope=\"" + scope + '"');
}

std::string table(std::string const& caption, std::vector<std::string> const& columns,
                  std::string const& rows, std::string const& attributes = "") {
    std::string heads;
    for (std::string const& column : columns) {
        heads += head(column, "col");
    }
    return "<div class=\"scroll\" tabindex=\"0\" role=\"region\" aria-label=\"" + caption +
           "\">\n<table" + (attributes.empty() ? "" : " " + attributes) + ">\n" +
           element("caption", caption) + "\n<thead>\n" + element("tr", heads) +
           "\n</thead>\n<tbody>\n" + rows + "</tbody>\n</table>\n</div>\n";
}

std::string title(ReportFigures const& figures) {
    std::string text = figures.maximise ? "Maximum over " : "Minimum over ";
    std::size_t const count = figures.variables.size();
    if (count > 5) {
        return text + std::to_string(count) + " variables";
    }
    for (std::size_t i = 0; i < count; ++i) {
        text += (i == 0 ? "" : i + 1 < count ? ", " : " and ") + figures.variables[i].name();
    }
    return text;
}

// How the search stands. A record has no line for its end.
std::string standing(KrSearch const& search, ReportFigures const& figures) {
    std::size_t const asked = figures.asked.size();
    if (asked == 0) {
        return "No evaluation is complete.";
    }
    if (figures.failures == asked && asked > 2 * figures.variables.size()) {
        return "The search failed: no point had a value.";
    }
    if (!figures.improvements.empty() &&
        (figures.best().value == search.targetValue() ||
         figures.isBetter(figures.best().value, search.targetValue()))) {
        return "The search reached its target value.";
    }
    if (search.maxEvaluations() != 0 && asked >= search.maxEvaluations()) {
        return "The search spent its limit of evaluations.";
    }
    return "The record does not hold how the search ended: it may still run, something may have "
           "stopped it, or its optimizer may have returned.";
}

std::string summary(KrSearch const& search, ReportFigures const& figures) {
    std::string text = "<dl>\n";
    auto const add = [&](std::string const& name, std::string const& value,
                         std::string const& attributes) {
        text += element("div", element("dt", name) + element("dd", value, attributes)) + '\n';
    };
    add("best value", figures.improvements.empty() ? "none" : number(figures.best().value),
        withId("best-value"));
    add("evaluations", std::to_string(figures.asked.size()), withId("evaluations"));
    add("failures", std::to_string(figures.failures), withId("failures"));
    if (search.constraints().size() > 0) {
        add("infeasible", std::to_string(figures.infeasible), withId("infeasible"));
    }
    add("runs", std::to_string(figures.runs.size()), withId("runs"));
    add("time", durationText(figures.seconds),
        withId("seconds") + " data-seconds=\"" + number(figures.seconds) + '"');
    text += "</dl>\n" + element("p", standing(search, figures), withId("standing")) + '\n';
    if (!figures.improvements.empty()) {
        std::size_t const best = figures.improvements.back();
        std::size_t const later = figures.asked.size() - 1 - best;
        text += element("p", "The best is evaluation " +
                                 element("span", std::to_string(best), withId("best-evaluation")) +
                                 (later == 0 ? ", the last one."
                                             : ", " + std::to_string(later) + " before the last.") +
                                 " They are numbered from 0.") +
                '\n';
    }
    std::string const ahead =
        figures.unasked == 0
            ? "."
            : "; the search has not asked for " + std::to_string(figures.unasked) + " of them.";
    text += element(
        "p", "Evaluations made: " +
                 element("span", std::to_string(figures.entries.size()), withId("made")) + ahead);
    return text + '\n';
}

std::string variableTable(ReportFigures const& figures) {
    std::string rows;
    std::string atBounds;
    for (std::size_t i = 0; i < figures.variables.size(); ++i) {
        KrSearchVariable const& variable = figures.variables[i];
        std::string best = "none";
        if (!figures.improvements.empty() && i < figures.best().point.size()) {
            double const x = figures.best().point[i];
            best = number(x);
            if (x == variable.lower() || x == variable.upper()) {
                atBounds += (atBounds.empty() ? "" : ", ") + escapedText(variable.name()) +
                            (x == variable.lower() ? " (lower)" : " (upper)");
            }
        }
        rows += element("tr", head(variable.name(), "row") +
                                  element("td", best, withId("best-" + std::to_string(i))) +
                                  element("td", number(variable.start())) +
                                  element("td", number(variable.lower())) +
                                  element("td", number(variable.upper())) +
                                  element("td", number(variable.scale()))) +
                '\n';
    }
    return table("The best feasible point, and where each variable may be",
                 {"variable", "best", "start", "lower", "upper", "scale"}, rows,
                 withId("variables")) +
           (atBounds.empty()
                ? ""
                : element("p", "The best point is on a bound: " + atBounds + '.') + '\n');
}

std::string topTable(ReportFigures const& figures) {
    if (figures.top.empty()) {
        return "<p>No point is feasible.</p>\n";
    }
    std::string rows;
    for (std::size_t const evaluation : figures.top) {
        Entry const& entry = figures.at(evaluation);
        std::string cells =
            head(std::to_string(evaluation), "row") + element("td", number(entry.value));
        for (double const x : entry.point) {
            cells += element("td", number(x));
        }
        rows += element("tr", cells) + '\n';
    }
    std::vector<std::string> columns = {"evaluation", "value"};
    for (KrSearchVariable const& variable : figures.variables) {
        columns.push_back(variable.name());
    }
    return table("Feasible points, the best first", columns, rows, withId("top"));
}

std::string folded(std::string const& summary, KrXmlObject const& object, std::string const& id) {
    return element(
               "details",
               element("summary", summary) + element("pre", escapedText(KrXml::toString(object))),
               withId(id)) +
           '\n';
}

std::string constraintTable(KrSearch const& search, ReportFigures const& figures) {
    std::string rows;
    std::size_t i = 0;
    for (auto const* const constraint : search.constraints().vectorContainer()) {
        if (constraint) {
            rows += element("tr",
                            head(std::to_string(i), "row") +
                                element("td", escapedText(constraint->token().localName())) +
                                element("td",
                                        figures.improvements.empty()
                                            ? "none"
                                            : number(constraint->evaluate(figures.best().point)))) +
                    '\n';
        }
        ++i;
    }
    return rows.empty()
               ? "<p>There are no constraints.</p>\n"
               : table("Constraints c: a point is feasible where each c is at most 0",
                       {"constraint", "kind", "c at the best point"}, rows, withId("constraints")) +
                     folded("Constraints as XML", search.constraints(), "constraints-xml");
}

std::string settings(KrSearch const& search) {
    auto const count = [](KrU32 value) {
        return value == 0 ? std::string("no limit") : std::to_string(value);
    };
    auto const orNone = [](double value, bool isNone, char const* none) {
        return isNone ? std::string(none) : number(value);
    };
    std::string rows;
    for (auto const& [name, value] : std::initializer_list<std::pair<char const*, std::string>>{
             {"optimizer", search.optimizer().topElement()
                               ? std::string(search.optimizer().topElement()->token().localName())
                               : "none"},
             {"maximise", search.maximise() ? "true" : "false"},
             {"maxEvaluations", count(search.maxEvaluations())},
             {"maxSeconds",
              orNone(search.maxSeconds(), std::isinf(search.maxSeconds()), "no limit")},
             {"targetValue",
              orNone(search.targetValue(), std::isnan(search.targetValue()), "no target")},
             {"stallEvaluations", count(search.stallEvaluations())},
             {"stallImprovement", number(search.stallImprovement())},
             {"failureValue", orNone(search.failureValue(), std::isnan(search.failureValue()),
                                     "the worst value so far")},
             {"constraintWeight", number(search.constraintWeight())},
             {"remember", search.remember() ? "true" : "false"},
             {"seed", std::to_string(search.seed())}}) {
        rows += element("tr", head(name, "row") + element("td", escapedText(value))) + '\n';
    }
    return table("The settings of the search", {"setting", "value"}, rows,
                 withId("settings") + " class=\"words\"") +
           folded("Optimizer as XML", search.optimizer(), "optimizer");
}

// With a line for each run; a record of more than a hundred has the first and the last fifty.
std::string runTable(ReportFigures const& figures) {
    constexpr std::size_t most = 50;
    std::vector<std::size_t> made(figures.runs.size(), 0);
    for (auto const& [ticket, entry] : figures.entries) {
        made[std::min(entry.run, made.size() - 1)] += 1;
    }
    std::string rows;
    for (std::size_t i = 0; i < figures.runs.size(); ++i) {
        if (i >= most && i + most < figures.runs.size()) {
            continue;
        }
        KrEvaluationRecord::Run const& run = figures.runs[i];
        rows += element("tr", head(std::to_string(i + 1), "row") +
                                  element("td", escapedText(run.time)) +
                                  element("td", escapedText(run.host)) +
                                  element("td", escapedText(run.process)) +
                                  element("td", escapedText(run.version)) +
                                  element("td", std::to_string(run.evaluations)) +
                                  element("td", std::to_string(made[i])) +
                                  element("td", durationText(figures.runSeconds[i]))) +
                '\n';
    }
    bool const isWhole = figures.runs.size() <= 2 * most;
    return table(isWhole ? "The runs of the search" : "The first and the last fifty runs",
                 {"run", "began", "host", "process", "version", "first evaluation", "made", "time"},
                 rows, withId("run-table"));
}

// A text of a program may be long: its beginning, whole characters only.
std::string beginning(std::string text) {
    constexpr std::size_t most = 300;
    if (text.size() > most) {
        std::size_t end = most;
        while ((static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U && end > most - 4) {
            --end;
        }
        text = text.substr(0, end) + " …";
    }
    return text;
}

std::string failureTable(ReportFigures const& figures) {
    constexpr std::size_t most = 10;
    if (figures.failures == 0) {
        return "<p>No evaluation failed.</p>\n";
    }
    std::vector<std::pair<std::size_t, std::string_view>> reasons;
    for (auto const& [text, count] : figures.reasons) {
        reasons.emplace_back(count, text);
    }
    auto const shown =
        reasons.begin() + static_cast<std::ptrdiff_t>(std::min(most, reasons.size()));
    std::ranges::partial_sort(reasons, shown, [](auto const& a, auto const& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    std::string rows;
    std::size_t rest = figures.failures;
    std::for_each(reasons.begin(), shown, [&](auto const& reason) {
        rows +=
            element("tr", head(std::to_string(reason.first), "row") +
                              element("td", escapedText(beginning(std::string(reason.second))))) +
            '\n';
        rest -= reason.first;
    });
    return table("Reasons, the most frequent first", {"times", "reason"}, rows,
                 withId("failure-table") + " class=\"words\"") +
           (rest == 0
                ? ""
                : element("p", std::to_string(rest) + " failures have other reasons.") + '\n');
}

}  // namespace

void writeReportPage(std::ostream& out, KrEvaluationRecord const& record) {
    KrSearch const& search = record.search();
    ReportFigures const figures(record);
    std::string const name = escapedText(title(figures));
    out << "<!DOCTYPE html>\n"
           "<html xmlns=\"http://www.w3.org/1999/xhtml\" lang=\"en\" xml:lang=\"en\">\n<head>\n"
           "<meta charset=\"utf-8\"/>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
        << element("title", name) << '\n'
        << element("style", std::string(style)) << "\n</head>\n<body>\n<main>\n"
        << element("h1", name) << '\n'
        << summary(search, figures) << variableTable(figures)
        << "<h2>Best value over the evaluations</h2>\n"
        << bestValueFigure(figures) << "<h2>Each variable over the evaluations</h2>\n"
        << variableFigures(figures) << "<h2>The ten best points</h2>\n"
        << topTable(figures) << "<h2>Failures</h2>\n"
        << failureTable(figures) << "<h2>Who evaluated what when</h2>\n"
        << timeFigure(figures) << runTable(figures) << "<h2>Settings</h2>\n"
        << settings(search) << constraintTable(search, figures) << "</main>\n</body>\n</html>\n";
}
