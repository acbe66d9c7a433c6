#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

double step(std::vector<Number> const& numbers, std::size_t k) {
    return numbers[k].value - numbers[k - 1].value;
}

// The share of a step that a breakpoint may be off.
constexpr double tolerance = 1e-3;

// The first k whose step from k - 1 is not `expected`, 0 if there is none. The breakpoints are in
// order, and rounded at 4 units in the last place of the largest. If the steps are so short that
// this exceeds `tolerance`, that counts.
std::size_t firstOtherStep(std::vector<Number> const& numbers, double expected) {
    double const rounding =
        0x1p-50 * std::max(std::abs(numbers.front().value), std::abs(numbers.back().value));
    double const allowed = std::min(rounding, tolerance * std::abs(expected));
    for (std::size_t k = 1; k < numbers.size(); ++k) {
        if (!(std::abs(step(numbers, k) - expected) <= allowed)) {
            return k;
        }
    }
    return 0;
}

// The first k that is not k times `spacing` behind the first breakpoint, 0 if there is none.
// Look-ups divide by the first step, whose rounding k multiplies.
std::size_t firstDrift(std::vector<Number> const& numbers, double spacing) {
    double const first = numbers[0].value;
    for (std::size_t k = 1; k < numbers.size(); ++k) {
        double const drift = numbers[k].value - first - static_cast<double>(k) * spacing;
        if (!(std::abs(drift) <= tolerance * std::abs(spacing))) {
            return k;
        }
    }
    return 0;
}

double medianStep(std::vector<Number> const& numbers) {
    std::vector<double> steps;
    steps.reserve(numbers.size() - 1);
    for (std::size_t k = 1; k < numbers.size(); ++k) {
        steps.push_back(step(numbers, k));
    }
    auto const middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::ranges::nth_element(steps, middle);
    return *middle;
}

void checkEqualSteps(Document& document, Node const& list) {
    // The usual step, so that one wrong breakpoint is found where it stands.
    double const usual = medianStep(list.numbers);
    if (std::size_t const k = firstOtherStep(list.numbers, usual)) {
        document.report(Rule::EqualSpaced, Spot::ofItem(list, list.numbers[k].place),
                        "the step to " + shown(list.numbers[k].value) + " is " +
                            shown(step(list.numbers, k)) + ", others are " + shown(usual) +
                            ": correct it, or write searchOption=\"bisection\"");
    } else if (std::size_t const far = firstDrift(list.numbers, step(list.numbers, 1))) {
        document.report(Rule::EqualSpaced, Spot::ofItem(list, list.numbers[far].place),
                        shown(list.numbers[far].value) + " is not " + std::to_string(far) +
                            " times the first step, " + shown(step(list.numbers, 1)) +
                            ", from the first breakpoint, and look-ups divide by that step: "
                            "write searchOption=\"bisection\"");
    }
}

void checkUnitSteps(Document& document, Node const& axis, Node const& list) {
    double const unit = list.numbers.back().value < list.numbers.front().value ? -1.0 : 1.0;
    std::size_t const other = firstOtherStep(list.numbers, unit);
    if (std::size_t const k = other > 0 ? other : firstDrift(list.numbers, unit)) {
        document.report(Rule::LinearSteps, Spot::of(axis),
                        "\"linear\" assumes steps of 1, and that to " +
                            shown(list.numbers[k].value) + " is " +
                            shown(std::abs(step(list.numbers, k))) +
                            ", so that values depend on earlier look-ups: write "
                            "searchOption=\"bisection\"");
    }
}

// The axis of an ordered list. Its lower end is the first breakpoint as stored.
Axis axisOf(Node const& node, std::vector<Number> const& numbers) {
    double const first = numbers.front().value;
    double const last = numbers.back().value;
    bool const isDescending = last < first;
    auto const extrapolates = [&](bool atFirst) {
        return node.attribute(atFirst ? "lowerBoundaryOption" : "upperBoundaryOption", "limit") ==
               "extrapolate";
    };
    Interval const box{std::min(first, last), std::max(first, last)};
    return {numbers.size(),
            box,
            {extrapolates(!isDescending) ? -infinity : box.low,
             extrapolates(isDescending) ? infinity : box.high}};
}

std::string gridText(std::vector<Node> const& axes) {
    std::string text;
    for (Node const& axis : axes) {
        text += (text.empty() ? "" : " x ") + std::to_string(axis.axis->size);
    }
    return text;
}

// How many values the grid has. 2^60 stands for all larger numbers.
std::size_t gridSize(std::vector<Node> const& axes) {
    constexpr std::size_t largest = std::size_t{1} << 60;
    std::size_t size = 1;
    for (Node const& axis : axes) {
        std::size_t const length = axis.axis->size;
        size = length == 0 ? 0 : size > largest / length ? largest : size * length;
    }
    return size;
}

void checkTableLengths(Document& document, std::vector<Node> const& axes, Node const& tables) {
    std::size_t const expected = gridSize(axes);
    for (List const& table : tables.lists) {
        if (table.size != expected) {
            std::string const grid =
                axes.empty() ? "a table without axes 1" : "its grid " + gridText(axes);
            bool const isShort = table.size < expected;
            document.report(isShort ? Rule::TableLength : Rule::TableSurplus,
                            Spot::ofItem(tables, table.place),
                            "the table has " + counted(table.size, "value") + ", " + grid +
                                (axes.size() > 1 ? " = " + std::to_string(expected) : "") +
                                (isShort ? ": add the missing ones"
                                         : ", and the last ones are ignored: remove them"));
        }
    }
}

void checkTableValues(Document& document, Node const& tables) {
    for (List const& table : tables.lists) {
        if (table.notFinite > 0) {
            Spot spot = Spot::ofItem(tables, table.firstNotFinite);
            spot.below.push_back(spot.below.back());
            document.report(Rule::Finite, spot,
                            "a value is NaN or infinite, and so is each cell at its corner" +
                                andMore(table.notFinite) + ": write a number");
        }
    }
}

bool isInside(Box const& inner, Box const& outer) {
    return std::ranges::equal(inner, outer, [](Interval const& in, Interval const& out) {
        return out.low <= in.low && in.high <= out.high;
    });
}

// Whether they have more than a face in common. A box of one breakpoint may have no width.
bool overlap(Box const& a, Box const& box) {
    return std::ranges::equal(a, box, [](Interval const& one, Interval const& other) {
        return other.low == other.high ? one.low <= other.low && other.low <= one.high
                                       : one.low < other.high && other.low < one.high;
    });
}

// Whether `boxes` cover `box` together. Cuts it at the first one that overlaps it, and asks the
// others for the parts outside. False if that takes too many tests.
bool cover(std::span<Box const> boxes, Box const& box, std::size_t& tests, int depth = 0) {
    constexpr int deepest = 100;
    while (!boxes.empty() && !overlap(boxes.front(), box) && tests > 0) {
        boxes = boxes.subspan(1);
        --tests;
    }
    if (boxes.empty() || tests == 0 || depth == deepest) {
        return false;
    }
    --tests;
    Box const& cutter = boxes.front();
    Box rest = box;
    for (std::size_t d = 0; d < box.size(); ++d) {
        if (rest[d].low < cutter[d].low) {
            Box below = rest;
            below[d].high = rest[d].low = cutter[d].low;
            if (!cover(boxes.subspan(1), below, tests, depth + 1)) {
                return false;
            }
        }
        if (rest[d].high > cutter[d].high) {
            Box above = rest;
            above[d].low = rest[d].high = cutter[d].high;
            if (!cover(boxes.subspan(1), above, tests, depth + 1)) {
                return false;
            }
        }
    }
    return true;
}

// Whether the left child answers every point of the right one's box first. It is asked inside of
// its own box. There a branch also lets its tables extrapolate, in all directions that they may.
// A table without axes has no box.
bool isCovered(Document& document, Region const& left, Region const& right) {
    return !right.box.empty() && isInside(right.box, left.box) &&
           cover(left.reaches, right.box, document.boxTests);
}

Region join(Region&& left, Region&& right) {
    for (std::size_t d = 0; d < left.box.size(); ++d) {
        left.box[d].low = std::min(left.box[d].low, right.box[d].low);
        left.box[d].high = std::max(left.box[d].high, right.box[d].high);
    }
    std::ranges::move(right.reaches, std::back_inserter(left.reaches));
    return std::move(left);
}

}  // namespace

bool checkMonotone(Document& document, Node const& list, bool orDescend) {
    std::vector<Number> const& numbers = list.numbers;
    std::size_t rising = 0;
    std::size_t falling = 0;
    for (std::size_t k = 1; k < numbers.size(); ++k) {
        rising += step(numbers, k) > 0.0;
        falling += step(numbers, k) < 0.0;
    }
    bool const descends = orDescend && falling > rising;
    std::size_t first = 0;
    std::size_t count = 0;
    bool isFinite = true;
    for (std::size_t k = 1; k < numbers.size(); ++k) {
        double const rise = descends ? -step(numbers, k) : step(numbers, k);
        isFinite = isFinite && std::isfinite(rise);
        if (rise <= 0.0 && std::isfinite(rise) && count++ == 0) {
            first = k;
        }
    }
    if (count > 0) {
        std::string const value = shown(numbers[first].value);
        document.report(Rule::Breakpoints, Spot::ofItem(list, numbers[first].place),
                        step(numbers, first) == 0.0
                            ? value + " is there twice" + andMore(count) + ": remove or move one"
                            : value + " follows " + shown(numbers[first - 1].value) +
                                  " where others " + (descends ? "descend" : "ascend") +
                                  andMore(count) + ": sort them together with their values");
    }
    return count == 0 && isFinite;
}

void checkAxis(Document& document, Node& node) {
    Node const* const list = node.find("independentVector");
    if (!list || list->numbers.empty()) {
        if (!list || !list->isDamaged) {
            node.axis = Axis{0, {}, {}};
        }
        return;
    }
    if (!checkMonotone(document, *list, true) || list->isDamaged) {
        return;
    }
    std::string_view const search = node.attribute("searchOption", "linear");
    // Two breakpoints have one segment, which every search finds.
    if (list->numbers.size() > 2 && search == "equal_spaced") {
        checkEqualSteps(document, *list);
    } else if (list->numbers.size() > 2 && search == "linear") {
        checkUnitSteps(document, node, *list);
    }
    node.axis = axisOf(node, list->numbers);
}

void checkTable(Document& document, Node& node) {
    Node const* const grid = node.find("independentData");
    Node const* const tables = node.find("dependentData");
    std::vector<Node> const none;
    std::vector<Node> const& axes = grid ? grid->children : none;
    bool const isKnown = !(grid && grid->isDamaged) && std::ranges::all_of(axes, [](Node const& a) {
        return a.axis.has_value();
    });
    bool isEmpty = false;
    for (Node const& axis : axes) {
        if (isKnown && axis.axis->size == 0 && tables && !tables->lists.empty()) {
            isEmpty = true;
            document.report(Rule::NoBreakpoints, {axis.place, {grid->tag, axis.tag}},
                            "without breakpoints all values are NaN: add them, or remove the axis");
        }
    }
    if (tables) {
        checkTableValues(document, *tables);
        if (isKnown && !isEmpty && !tables->isDamaged) {
            checkTableLengths(document, axes, *tables);
        }
    }
    if (isKnown && !isEmpty) {
        node.region = Region{{}, std::vector<Box>(1), tables ? tables->lists.size() : 0};
        for (Node const& axis : axes) {
            node.region->box.push_back(axis.axis->box);
            node.region->reaches[0].push_back(axis.axis->reach);
        }
    }
}

void checkBranch(Document& document, Node& node) {
    if (node.children.size() < 2) {
        // Its box is empty, so that a branch above never asks it.
        if (!node.children.empty() && document.isInside("compositeFunctionBranch")) {
            document.report(Rule::ChildCount, Spot::of(node),
                            "a branch of one child inside another is never evaluated: write the "
                            "child in its place");
        }
        return;
    }
    auto& left = node.children[0].region;
    auto& right = node.children[1].region;
    Spot const spot = Spot::ofChild(node.children[1]);
    if (!left || !right) {
        return;
    }
    std::size_t const variables = left->box.size();
    if (right->box.size() != variables) {
        document.report(Rule::ChildDimension, spot,
                        "this child has " + counted(right->box.size(), "variable") +
                            ", the first one " + std::to_string(variables) +
                            ": give both the same axes");
        return;
    }
    if (left->values != right->values) {
        document.report(Rule::ChildValues, spot,
                        "this child has " + counted(right->values, "value") + ", the first one " +
                            std::to_string(left->values) + ": give both the same tables");
    }
    if (isCovered(document, *left, *right)) {
        document.report(Rule::ChildCovered, spot,
                        "the first child covers the box of this one, whose values are not used in "
                        "it: exchange the children, or reduce the first");
    }
    node.region = join(std::move(*left), std::move(*right));
}

}  // namespace KrLintRules
