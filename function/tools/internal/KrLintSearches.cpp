#include "foundation/xml/KrXmlReader.h"
#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>
#include <set>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// A budget from here on ends no search: its evaluations take a quarter of an hour at 1 us each.
constexpr double endlessBudget = 1e9;

// What one step of an optimizer takes in n dimensions: `perDimension` n + `besides`.
struct Method {
    std::string_view name;
    char const* step;
    char const* lengths;
    char const* threshold;  // null if only the budget ends it
    double threshold0;      // its default
    double perDimension;
    double besides;
};

constexpr Method methods[] = {
    {"nelderMead", "replacing each vertex once", "simplexEdgeLengths", "stoppingThreshold", 1e-5,
     1.0, 1.0},
    {"multidirectionalSearch", "one step", "simplexEdgeLengths", "stoppingThreshold", 1e-5, 2.0,
     0.0},
    {"implicitFiltering", "one line search and its stencil", "simplexEdgeLengths", nullptr, 0.0,
     2.0, 1.0},
    {"hookeJeeves", "the first exploration", "edgeLengths", "minTotalReduction", 1e-3, 2.0, 1.0},
};

struct Budget {
    char const* component;
    double value;
    Spot spot;
};

std::vector<Budget> budgetsOf(Node const& node) {
    auto const budget = [&](char const* component, double otherwise) {
        Node const* const child = node.find(component);
        return Budget{component, node.number(component, otherwise),
                      child ? Spot::ofChild(*child) : Spot::of(node)};
    };
    std::vector<Budget> budgets{budget("maxFunctionEvaluations", 300.0)};
    if (node.name == "nelderMead") {
        budgets.push_back(budget("maxTotalSteps", 200.0));
    }
    return budgets;
}

// Reports a budget that ends the search within its first step. The edge lengths fix n; without
// them the variables of the search do.
void checkBudget(Document& document, Node const& node, Method const& method, Budget const& budget) {
    double const leastN = std::floor((budget.value - method.besides) / method.perDimension) + 1.0;
    std::size_t const n = node.length(method.lengths).value_or(0);
    std::string const sentence = std::string(budget.component) + " is " + shown(budget.value) +
                                 ", too few for " + method.step + ": set it to 50 (n + 1) or more" +
                                 (n > 0 ? ", " + std::to_string(50 * (n + 1)) : "");
    if (!(budget.value >= 1.0)) {
        return;  // outside its range
    }
    if (n > 0 && static_cast<double>(n) >= leastN) {
        document.report(Rule::Budget, budget.spot, sentence);
    } else if (n == 0 && document.isInside("search")) {
        document.reportIf({leastN, infinity, false}, Rule::Budget, budget.spot, sentence);
    }
}

void checkEndless(Document& document, Node const& node, Method const& method,
                  std::vector<Budget> const& budgets) {
    double const threshold =
        method.threshold ? node.number(method.threshold, method.threshold0) : 0.0;
    bool const isEndless = std::ranges::all_of(
        budgets, [](Budget const& budget) { return budget.value >= endlessBudget; });
    if (threshold > 0.0 || !isEndless) {
        return;
    }
    Node const* const child = method.threshold ? node.find(method.threshold) : nullptr;
    Spot const spot = child ? Spot::ofChild(*child) : budgets[0].spot;
    std::string const sentence =
        std::string(child ? method.threshold : "nothing") +
        (child ? " is " + shown(threshold) + " and" : " but") + " a budget of " +
        shown(budgets[0].value) +
        " evaluations ends the search: " + (child ? "raise it, or reduce the budget" : "reduce it");
    if (document.isInside("search")) {
        document.reportIf({0.0, infinity, true}, Rule::Endless, spot, sentence);
    } else {
        document.report(Rule::Endless, spot, sentence);
    }
}

// Lengths beyond the variables of the search are ignored.
void checkSurplusLengths(Document& document, Node const& node, Method const& method) {
    Node const* const lengths = node.find(method.lengths);
    if (lengths && !lengths->numbers.empty() && document.isInside("search")) {
        auto const count = static_cast<double>(lengths->numbers.size());
        document.reportIf(
            {0.0, count - 1.0, false}, Rule::ListLengths, Spot::ofChild(*lengths),
            "there are " + shown(count) + " lengths, more than variables: write one for each");
    }
}

bool isName(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.';
    });
}

void checkMaxEvaluations(Document& document, Node const& node, double variables) {
    double const most = node.number("maxEvaluations", 0.0);
    if (most > 0.0 && most < variables + 2.0) {
        document.report(Rule::Budget, Spot::ofChild(*node.find("maxEvaluations")),
                        "maxEvaluations is " + shown(most) + ", too few to begin with " +
                            counted(static_cast<std::size_t>(variables), "variable") +
                            ": set it to 50 (n + 1) or more, " + shown(50.0 * (variables + 1.0)));
    }
}

}  // namespace

void checkOptimizer(Document& document, Node& node) {
    Method const& method = *std::ranges::find(methods, node.name, &Method::name);
    std::vector<Budget> const budgets = budgetsOf(node);
    for (Budget const& budget : budgets) {
        checkBudget(document, node, method, budget);
    }
    checkEndless(document, node, method, budgets);
    checkSurplusLengths(document, node, method);
    double const alpha = node.number("alpha", 1.0);
    double const gamma = node.number("gamma", 2.0);
    if (node.name == "multidirectionalSearch" && std::isfinite(gamma) && gamma <= alpha) {
        Node const* const child = node.find("gamma");
        document.report(
            Rule::Range, child ? Spot::ofChild(*child) : Spot::of(node),
            "gamma is " + shown(gamma) + ": write a number above alpha, " + shown(alpha));
    }
}

void checkVariable(Document& document, Node& node) {
    double const lower = node.number("lower", -infinity);
    double const upper = node.number("upper", infinity);
    double const start = node.number("start", 0.0);
    auto const spot = [&](char const* component) {
        Node const* const child = node.find(component);
        return child ? Spot::ofChild(*child) : Spot::of(node);
    };
    Node const* const child = node.find("name");
    std::string const name = child ? child->text : "";
    node.names.push_back({name, node.tag, node.place});
    if (!isName(name)) {
        document.report(
            Rule::Variable, spot("name"),
            "the name is " + krXmlQuoted(name) + ": write letters, digits, \"_\", \"-\" and \".\"");
    }
    if (lower > upper) {
        document.report(
            Rule::Variable, spot("lower"),
            "lower is " + shown(lower) + ", above upper, " + shown(upper) + ": exchange them");
    } else if (std::isfinite(start) && (start < lower || start > upper)) {
        document.report(Rule::Variable, spot("start"),
                        "start is " + shown(start) + ": write a number from " + shown(lower) +
                            " to " + shown(upper));
    }
}

void checkVariables(Document& document, Node& node) {
    std::set<std::string_view> known;
    for (Name const& name : node.names) {
        if (isName(name.text) && !known.insert(name.text).second) {
            document.report(Rule::Variable, {name.place, {name.tag}},
                            "an earlier variable has the name " + krXmlQuoted(name.text) +
                                ": write another one");
        }
    }
}

void checkSearch(Document& document, Node& node) {
    Node const* const variables = node.find("variables");
    Node const* const optimizer = node.find("optimizer");
    auto const count = static_cast<double>(variables ? variables->names.size() : 0);
    bool const hasVariables = count > 0.0;
    if (!hasVariables || !optimizer || optimizer->childCount == 0) {
        document.report(Rule::IncompleteSearch, Spot::of(node),
                        std::string("the search has no ") +
                            (hasVariables ? "optimizer" : "variables") + ": add " +
                            (hasVariables ? "one" : "them"));
    }
    checkMaxEvaluations(document, node, count);
    bool const hasLimit = node.number("maxEvaluations", 0.0) > 0.0 ||
                          node.number("maxSeconds", infinity) < infinity ||
                          node.number("stallEvaluations", 0.0) > 0.0 ||
                          !std::isnan(node.number("targetValue", std::nan("")));
    document.settle(count, hasLimit);
}

}  // namespace KrLintRules
