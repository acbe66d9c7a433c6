#include "program/ReportCharts.h"

#include "program/Chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

using Entry = KrEvaluationRecord::Entry;
using Kind = ReportFigures::Kind;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The smallest and the largest of finite values.
struct Range {
    double low = std::numeric_limits<double>::infinity();
    double high = -std::numeric_limits<double>::infinity();

    void add(double value) {
        if (std::isfinite(value)) {
            low = std::min(low, value);
            high = std::max(high, value);
        }
    }
    bool isEmpty() const { return low > high; }
    double halfWidth() const { return high / 2.0 - low / 2.0; }
};

std::string figure(std::string const& label, std::string const& caption, std::string const& svg) {
    return "<figure>\n<figcaption>" + caption +
           "</figcaption>\n<div class=\"scroll\" tabindex=\"0\" " +
           "role=\"region\" aria-label=\"" + label + "\">" + svg + "</div>\n</figure>\n";
}

std::string swatch(std::string const& style, std::string const& text) {
    return "<span class=\"" + style + "-text\">" + text + "</span>";
}

std::string counted(std::size_t count, std::string const& one, std::string const& many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

ChartAxis evaluationAxis(ReportFigures const& figures, double left, double right) {
    double const count = static_cast<double>(figures.asked.size());
    return {0.0, std::max(count, 1.0), left, right};
}

std::vector<double> finiteValues(ReportFigures const& figures) {
    std::vector<double> values;
    for (std::size_t i = 0; i < figures.asked.size(); ++i) {
        if (figures.kinds[i] != Kind::Failed && std::isfinite(figures.at(i).value)) {
            values.push_back(figures.at(i).value);
        }
    }
    return values;
}

// What the best values span, and the median of all: a few bad values would flatten the curve.
Range valueRange(ReportFigures const& figures) {
    Range range;
    for (std::size_t const i : figures.improvements) {
        range.add(figures.at(i).value);
    }
    if (std::vector<double> values = finiteValues(figures); !values.empty()) {
        auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
        std::ranges::nth_element(values, middle);
        range.add(*middle);
    }
    return range;
}

// Over more than two decades of positive values. A best value of 0 is below the axis.
ChartAxis valueAxis(ReportFigures const& figures, double bottom, double top) {
    Range const range = valueRange(figures);
    Range positive;
    for (std::size_t const i : figures.improvements) {
        positive.add(figures.at(i).value > 0.0 ? figures.at(i).value : nan);
    }
    if (range.low >= 0.0 && !positive.isEmpty() && range.high > 100.0 * positive.low) {
        return {positive.low, range.high, bottom, top, ChartAxis::Scale::Logarithmic};
    }
    return {range.low, range.high, bottom, top};
}

// A line where each run but the first begins. Labels that would overlap are joined.
void addRuns(Chart& chart, ReportFigures const& figures, ChartAxis const& x, double top,
             double bottom, bool isLabelled) {
    constexpr double room = 64.0;
    auto const& runs = figures.runs;
    for (std::size_t i = 1; i < runs.size();) {
        double const at = x.at(static_cast<double>(runs[i].evaluations));
        std::size_t const first = i;
        double drawn = -1.0;
        for (; i < runs.size(); ++i) {
            double const next = x.at(static_cast<double>(runs[i].evaluations));
            if (next > at + room) {
                break;
            }
            if (next > drawn + 1.0) {
                chart.line("run", next, top, next, bottom);
                drawn = next;
            }
        }
        if (isLabelled) {
            std::string const text =
                first + 1 == i ? "run " + std::to_string(i)
                               : "runs " + std::to_string(first + 1) + "–" + std::to_string(i);
            chart.text("run-text", at, top - 6.0, "middle", text);
        }
    }
}

// A stroke at the bottom for each column in which an evaluation failed.
std::string failureMarks(ReportFigures const& figures, ChartAxis const& x, double bottom) {
    std::string marks;
    double drawn = -1.0;
    for (std::size_t i = 0; i < figures.asked.size() && figures.failures > 0; ++i) {
        double const at = x.at(static_cast<double>(i));
        if (figures.kinds[i] == Kind::Failed && at >= drawn + 1.0) {
            marks += 'M' + coordinate(at) + ' ' + coordinate(bottom) + "v-8";
            drawn = at;
        }
    }
    return marks;
}

// One variable over the evaluations.
class VariablePicture {
public:
    VariablePicture(ReportFigures const& figures, std::size_t number)
        : figures_(figures),
          variable_(figures.variables[number]),
          number_(number),
          x_(evaluationAxis(figures, 56.0, 310.0)),
          range_(shownRange()),
          y_(range_.isEmpty() ? 0.0 : range_.low, range_.isEmpty() ? 1.0 : range_.high, 140.0,
             18.0) {}

    std::string text() const {
        std::string const name = variable_.name();
        std::string const best =
            figures_.improvements.empty()
                ? ""
                : ", " + swatch("best", "best " + shortNumber(coordinateOf(figures_.best())));
        std::string const id = "variable-" + std::to_string(number_);
        Chart chart(id, 340, 176, name + " over the evaluations",
                    "Bounds: " + boundsText(variable_) + ".");
        chart.grid(x_, y_, x_.ticks(4, 1.0), y_.ticks(4));
        for (double const bound : {variable_.lower(), variable_.upper()}) {
            if (y_.contains(bound)) {
                chart.line("bound", x_.from(), y_.at(bound), x_.to(), y_.at(bound));
            }
        }
        addRuns(chart, figures_, x_, 12.0, 146.0, false);
        addPoints(chart);
        return "<figure>\n<figcaption><b>" + escapedText(name) + "</b>" + best + ", " +
               boundsText(variable_) + "</figcaption>\n" + chart.svg() + "</figure>\n";
    }

private:
    double coordinateOf(Entry const& entry) const {
        return number_ < entry.point.size() ? entry.point[number_] : nan;
    }

    // From bound to bound, unless the search has evaluated only a small part of this range.
    Range shownRange() const {
        Range seen;
        for (Entry const* const entry : figures_.asked) {
            seen.add(coordinateOf(*entry));
        }
        Range all = seen;
        all.add(variable_.lower());
        all.add(variable_.upper());
        return seen.halfWidth() > 0.05 * all.halfWidth() ? all : seen;
    }

    void addPoints(Chart& chart) const {
        ChartColumns points(x_, y_);
        ChartColumns best(x_, y_);
        auto improvement = figures_.improvements.begin();
        for (std::size_t i = 0; i < figures_.asked.size(); ++i) {
            double const value = coordinateOf(figures_.at(i));
            points.add(static_cast<double>(i), value);
            if (improvement != figures_.improvements.end() && *improvement == i) {
                best.add(static_cast<double>(i), value);
                ++improvement;
            }
        }
        chart.path("points", points.dots());
        chart.path("best", best.steps());
    }

    ReportFigures const& figures_;
    KrSearchVariable const& variable_;
    std::size_t number_;
    ChartAxis x_;
    Range range_;
    ChartAxis y_;
};

struct Unit {
    double seconds;
    char const* name;
};

Unit unitOf(double seconds) {
    return seconds < 120.0      ? Unit{1.0, "s"}
           : seconds < 7200.0   ? Unit{60.0, "min"}
           : seconds < 172800.0 ? Unit{3600.0, "h"}
                                : Unit{86400.0, "d"};
}

// The evaluations of one worker, in coordinates of the picture.
struct Blocks {
    using Span = std::pair<double, double>;
    std::vector<Span> spans;
    std::vector<Span> failed;
    double busy = 0.0;

    // A block that is too narrow to be visible joins the one before it.
    static std::string path(std::vector<Span> spans, double top, double height) {
        std::ranges::sort(spans);
        std::string result;
        auto const draw = [&](Span const& span) {
            double const width = span.second - span.first;
            std::string const text = coordinate(width > 2.0 ? width - 0.6 : std::max(width, 0.6));
            result += 'M' + coordinate(span.first) + ' ' + coordinate(top) + 'h' + text + 'v' +
                      coordinate(height) + "h-" + text + 'z';
        };
        for (std::size_t i = 0; i < spans.size();) {
            Span block = spans[i];
            for (++i; i < spans.size() && spans[i].first < block.second + 1.0 &&
                      spans[i].second < std::max(block.second, spans[i].first + 2.0);
                 ++i) {
                block.second = std::max(block.second, spans[i].second);
            }
            draw(block);
        }
        return result;
    }
};

}  // namespace

std::string boundsText(KrSearchVariable const& variable) {
    bool const hasLower = std::isfinite(variable.lower());
    bool const hasUpper = std::isfinite(variable.upper());
    return hasLower && hasUpper
               ? shortNumber(variable.lower()) + " to " + shortNumber(variable.upper())
           : hasLower ? "from " + shortNumber(variable.lower()) + " on"
           : hasUpper ? "up to " + shortNumber(variable.upper())
                      : "no bounds";
}

std::string durationText(double seconds) {
    Unit const unit = unitOf(seconds);
    return shortNumber(seconds / unit.seconds) + ' ' + unit.name;
}

std::string bestValueFigure(ReportFigures const& figures) {
    if (finiteValues(figures).empty()) {
        return "<p>No evaluation has a finite value.</p>\n";
    }
    ChartAxis const x = evaluationAxis(figures, 64.0, 616.0);
    ChartAxis const y = valueAxis(figures, 256.0, 32.0);
    ChartColumns feasible(x, y);
    ChartColumns infeasible(x, y);
    ChartColumns best(x, y);
    std::size_t outside = 0;
    for (std::size_t i = 0; i < figures.asked.size(); ++i) {
        if (figures.kinds[i] != Kind::Failed) {
            ChartColumns& points = figures.kinds[i] == Kind::Feasible ? feasible : infeasible;
            outside += points.add(static_cast<double>(i), figures.at(i).value) ? 0 : 1;
        }
    }
    for (std::size_t const i : figures.improvements) {
        best.addLimited(static_cast<double>(i), figures.at(i).value);
    }
    std::string const count = counted(figures.asked.size(), "evaluation", "evaluations");
    std::string const summary =
        figures.improvements.empty()
            ? "No point is feasible after " + count + '.'
            : "The best value is " + shortNumber(figures.best().value) + ", found by evaluation " +
                  std::to_string(figures.improvements.back()) + " of " + count + '.';
    Chart chart("best-chart", 720, 300, "Best value over the evaluations", summary);
    chart.grid(x, y, x.ticks(6, 1.0), y.ticks(6));
    chart.text("tick", x.to() + 32.0, 280.0, "start", "evaluation");
    addRuns(chart, figures, x, 26.0, 262.0, true);
    chart.path("points", feasible.dots());
    chart.path("infeasible", infeasible.dots());
    chart.path("failed", failureMarks(figures, x, 262.0));
    chart.path("best", best.steps());
    if (!figures.improvements.empty()) {
        chart.text("best-text", x.to() + 8.0, y.at(figures.best().value) + 4.0, "start",
                   shortNumber(figures.best().value));
    }
    std::string caption = swatch("best", "Best value so far") + " and " +
                          swatch("points", "value of each evaluation");
    if (figures.infeasible > 0) {
        caption += ", " + swatch("infeasible", "violating a constraint");
    }
    if (figures.failures > 0) {
        caption += ", " + swatch("failed", "failed");
    }
    if (outside > 0) {
        caption += ". " + counted(outside, "value is", "values are") + " beyond the picture";
    }
    return figure("Best value over the evaluations", caption + '.', chart.svg());
}

std::string variableFigures(ReportFigures const& figures) {
    constexpr std::size_t most = 40;
    if (figures.asked.empty()) {
        return "<p>No evaluation is complete.</p>\n";
    }
    std::size_t const count = std::min(figures.variables.size(), most);
    std::string text = "<p>" + swatch("best", "The best point so far") + " and " +
                       swatch("points", "each evaluation") + ". A " +
                       swatch("bound", "dashed line") + " is a bound.";
    if (count < figures.variables.size()) {
        text += " The first " + std::to_string(count) + " of " +
                std::to_string(figures.variables.size()) + " variables.";
    }
    text += "</p>\n<div class=\"multiples\">\n";
    for (std::size_t i = 0; i < count; ++i) {
        text += VariablePicture(figures, i).text();
    }
    return text + "</div>\n";
}

std::string timeFigure(ReportFigures const& figures) {
    constexpr std::size_t most = 32;
    if (!(figures.seconds > 0.0)) {
        return "<p>The evaluations took no measurable time.</p>\n";
    }
    Unit const unit = unitOf(figures.seconds);
    ChartAxis const x(0.0, figures.seconds / unit.seconds, 72.0, 616.0);
    std::vector<double> begins;
    double begin = 0.0;
    for (double const seconds : figures.runSeconds) {
        begins.push_back(begin);
        begin += seconds;
    }
    std::vector<Blocks> workers(std::min(figures.workers, most));
    for (auto const& [ticket, entry] : figures.entries) {
        if (entry.worker >= workers.size() || entry.run >= begins.size() ||
            !std::isfinite(entry.start + entry.seconds)) {
            continue;
        }
        double const start = begins[entry.run] + std::max(entry.start, 0.0);
        Blocks& blocks = workers[entry.worker];
        (entry.failed ? blocks.failed : blocks.spans)
            .push_back({x.at(start / unit.seconds), x.at((start + entry.seconds) / unit.seconds)});
        blocks.busy += entry.seconds;
    }
    double const pitch = workers.size() > 8 ? 16.0 : 24.0;
    double const bottom = 26.0 + pitch * static_cast<double>(workers.size());
    Chart chart("time-chart", 720, static_cast<int>(bottom) + 40, "Who evaluated what when",
                counted(figures.workers, "worker", "workers") + " in " +
                    counted(figures.runSeconds.size(), "run", "runs") + ", " +
                    durationText(figures.seconds) + " together.");
    chart.grid(x, ChartAxis(0.0, 1.0, bottom - 4.0, 26.0), x.ticks(6), {});
    chart.text("tick", x.to() + 20.0, bottom + 20.0, "start", unit.name);
    for (std::size_t i = 0; i < workers.size(); ++i) {
        double const top = 28.0 + pitch * static_cast<double>(i);
        chart.text("tick", 64.0, top + pitch / 2.0 + 2.0, "end", "worker " + std::to_string(i));
        chart.path("block", Blocks::path(workers[i].spans, top, pitch - 4.0));
        chart.path("failed-block", Blocks::path(workers[i].failed, top, pitch - 4.0));
        chart.text("tick", x.to() + 8.0, top + pitch / 2.0 + 2.0, "start",
                   shortNumber(std::round(100.0 * workers[i].busy / figures.seconds)) + " % busy");
    }
    double drawn = -100.0;
    for (std::size_t run = 0; run < begins.size(); ++run) {
        double const at = x.at(begins[run] / unit.seconds);
        if (run > 0) {
            chart.line("run", at, 16.0, at, bottom);
        }
        if (at > drawn + 56.0 && begins.size() > 1) {
            chart.text("run-text", at + 3.0, 18.0, "start", "run " + std::to_string(run + 1));
            drawn = at;
        }
    }
    std::string caption = "Each block is an " + swatch("block", "evaluation");
    caption += figures.failures > 0 ? " or a " + swatch("failed", "failed one") + '.' : ".";
    if (workers.size() < figures.workers) {
        caption += " The first " + std::to_string(workers.size()) + " of " +
                   std::to_string(figures.workers) + " workers.";
    }
    return figure("Who evaluated what when", caption, chart.svg());
}
