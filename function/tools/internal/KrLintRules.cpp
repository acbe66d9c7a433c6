#include "function/tools/internal/KrLintRules.h"

#include "foundation/xml/KrXmlText.h"

#include <algorithm>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

constexpr auto Warning = KrLintFinding::Severity::Warning;
constexpr auto Error = KrLintFinding::Severity::Error;

struct ElementCheck {
    std::string_view element;
    void (*run)(Document&, Node&);
};

// Each check frees what it has read of large elements: their parents need a summary only.
constexpr ElementCheck checks[] = {
    {"tableFunctionVectorSearch", checkAxis},
    {"tableFunctionInterpolator", checkTable},
    {"compositeFunctionBranch", checkBranch},
    {"multipointScalarFunction", checkMultipoint},
    {"sCurveUnitaryMap", checkSCurve},
    {"linearMultivariableConstraint", checkLinearConstraint},
    {"quadraticMultivariableConstraint", checkQuadraticConstraint},
    {"gaussQuadrature", checkQuadrature},
    {"nelderMead", checkOptimizer},
    {"multidirectionalSearch", checkOptimizer},
    {"implicitFiltering", checkOptimizer},
    {"hookeJeeves", checkOptimizer},
    {"variable", checkVariable},
    {"variables", checkVariables},
    {"search", checkSearch},
};

}  // namespace

constinit std::array<KrLint::Rule, static_cast<std::size_t>(Rule::Count)> const rules = {{
    {"breakpoints", Error, "Breakpoints ascend or descend strictly; abscissae ascend strictly."},
    {"no-breakpoints", Error, "Every axis of a table with values has a breakpoint."},
    {"table-length", Error, "A table has at least as many values as its grid."},
    {"table-surplus", Warning, "A table has no more values than its grid."},
    {"equal-spaced", Error, "The steps of an axis with \"equal_spaced\" are equal."},
    {"linear-steps", Warning, "The steps of an axis with \"linear\", the default, are 1."},
    {"finite", Warning, "Values, coefficients and breakpoints are finite."},
    {"list-lengths", Error, "Lists whose items belong together have one length."},
    {"duplicate-index", Error, "An index, or a pair of indices, is listed once."},
    {"pair-order", Error, "The smaller index of a pair comes first."},
    {"index-range", Error, "A constraint of a search uses indices of its variables."},
    {"quadrature-order", Error, "A quadrature order is 2 to 20, 32, 64, 96, 100 or 128."},
    {"child-count", Error,
     "A branch has two children, or one if no branch holds it; a container has one."},
    {"child-dimension", Error, "Both children of a branch have the same number of variables."},
    {"child-values", Error, "Both children of a branch have the same number of values."},
    {"child-covered", Warning, "No right child lies inside what its left sibling covers."},
    {"range", Error, "Settings are in their admissible ranges."},
    {"budget", Warning, "A budget suffices for one step of its optimizer."},
    {"endless", Warning, "A search with a threshold of 0 has a budget."},
    {"variable", Error, "Variables have a name of their own, bounds in order, a start inside."},
    {"incomplete-search", Error, "A search has variables and an optimizer."},
    {"correlation", Error, "With a grid given: the function is a correlation on it."},
    {"lint-comment", Warning, "A comment that silences names rules, and an element follows."},
}};

Rule ruleOf(std::string_view name) {
    return static_cast<Rule>(std::ranges::find(rules, name, &KrLint::Rule::name) - rules.begin());
}

void check(Document& document, Node& node) {
    checkRanges(document, node);
    auto const* const found = std::ranges::find(checks, node.name, &ElementCheck::element);
    if (found != std::end(checks)) {
        found->run(document, node);
        node.shrink();
    }
}

std::string shown(double value) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(value, room));
}

std::string counted(std::size_t count, char const* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string andMore(std::size_t count) {
    return count < 2 ? "" : ", and " + std::to_string(count - 1) + " more";
}

}  // namespace KrLintRules
