#include "foundation/xml/KrXmlText.h"
#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>

// The admissible ranges of components, as their accessors document them.

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

enum class Kind {
    Open,       // low < x < high
    From,       // low <= x < high
    To,         // low < x <= high
    Closed,     // low <= x <= high
    Finite,     // any finite number
    FiniteNot0  // any finite number but 0
};

struct Range {
    std::string_view element;
    std::string_view component;  // a number, or a list of numbers
    Kind kind;
    double low = -infinity;
    double high = infinity;

    bool contains(double x) const {
        switch (kind) {
            case Kind::Open: return low < x && x < high;
            case Kind::From: return low <= x && x < high;
            case Kind::To: return low < x && x <= high;
            case Kind::Closed: return low <= x && x <= high;
            case Kind::Finite: return std::isfinite(x);
            case Kind::FiniteNot0: return std::isfinite(x) && x != 0.0;
        }
        return false;
    }

    std::string text() const {
        if (kind == Kind::Finite || kind == Kind::FiniteNot0) {
            return kind == Kind::Finite ? "finite number" : "finite number other than 0";
        }
        bool const isLowIn = kind == Kind::From || kind == Kind::Closed;
        bool const isHighIn = kind == Kind::To || kind == Kind::Closed;
        std::string text = "number with ";
        if (low > -infinity || !isLowIn) {
            text += shown(low) + (isLowIn ? " <= " : " < ");
        }
        text += 'x';
        if (high < infinity || !isHighIn) {
            text += (isHighIn ? " <= " : " < ") + shown(high);
        }
        return text;
    }
};

constexpr Range ranges[] = {
    {"nelderMead", "alpha", Kind::Open, 0.0},
    {"nelderMead", "beta", Kind::Open, 0.0, 1.0},
    {"nelderMead", "gamma", Kind::Open, 1.0},
    {"nelderMead", "sigma", Kind::Open, 0.0, 1.0},
    {"nelderMead", "stoppingThreshold", Kind::From, 0.0},
    {"nelderMead", "maxTotalSteps", Kind::Closed, 1.0, 4294967295.0},
    {"nelderMead", "maxFunctionEvaluations", Kind::Closed, 1.0, 4294967295.0},
    {"nelderMead", "eta", Kind::From, 0.0},
    {"nelderMead", "simplexEdgeLengths", Kind::FiniteNot0},
    {"nelderMead", "defaultSimplexEdgeLength", Kind::FiniteNot0},

    {"multidirectionalSearch", "alpha", Kind::Open, 0.0},
    {"multidirectionalSearch", "beta", Kind::Open, 0.0, 1.0},
    {"multidirectionalSearch", "gamma", Kind::Finite},  // and above alpha
    {"multidirectionalSearch", "stoppingThreshold", Kind::From, 0.0},
    {"multidirectionalSearch", "maxFunctionEvaluations", Kind::Closed, 1.0, 4294967295.0},
    {"multidirectionalSearch", "simplexEdgeLengths", Kind::FiniteNot0},
    {"multidirectionalSearch", "defaultSimplexEdgeLength", Kind::FiniteNot0},

    {"implicitFiltering", "lineSearchAlpha", Kind::From, 0.0, 1.0},
    {"implicitFiltering", "lineSearchBeta", Kind::Open, 0.0, 1.0},
    {"implicitFiltering", "lineSearchMaxIterations", Kind::Closed, 1.0, 4294967295.0},
    {"implicitFiltering", "lineSearchInitialLambdaMultiplier", Kind::Open, 0.0},
    {"implicitFiltering", "tau", Kind::From, 0.0},
    {"implicitFiltering", "simplexScaleFactor", Kind::Open, 0.0, 1.0},
    {"implicitFiltering", "maxFunctionEvaluations", Kind::Closed, 1.0, 4294967295.0},
    {"implicitFiltering", "simplexEdgeLengths", Kind::FiniteNot0},
    {"implicitFiltering", "defaultSimplexEdgeLength", Kind::FiniteNot0},

    {"hookeJeeves", "reductionFactor", Kind::Open, 0.0, 1.0},
    {"hookeJeeves", "minTotalReduction", Kind::To, 0.0, 1.0},
    {"hookeJeeves", "maxFunctionEvaluations", Kind::Closed, 2.0, 4294967295.0},
    {"hookeJeeves", "edgeLengths", Kind::FiniteNot0},
    {"hookeJeeves", "defaultEdgeLength", Kind::FiniteNot0},

    {"sequenceOptimizer", "numberPasses", Kind::Closed, 1.0, 4294967295.0},

    {"search", "maxSeconds", Kind::Closed, 0.0},
    {"search", "stallImprovement", Kind::Closed, 0.0},
    {"search", "constraintWeight", Kind::From, 0.0},
    {"variable", "start", Kind::Finite},
    {"variable", "lower", Kind::From},
    {"variable", "upper", Kind::To},
    {"variable", "scale", Kind::Closed, 3e-151, 3e150},

    {"tableFunctionVectorSearch", "independentVector", Kind::Finite},
    {"multipointScalarFunction", "domainValues", Kind::Finite},
    {"multipointScalarFunction", "rangeValues", Kind::Finite},
    {"linearScalarFunction", "startValue", Kind::Finite},
    {"linearScalarFunction", "endValue", Kind::Finite},
    {"powerUnitaryMap", "exponent", Kind::Open, 0.0},
    {"sCurveUnitaryMap", "center", Kind::Open, 0.0, 1.0},
    {"sCurveUnitaryMap", "initialSlope", Kind::Finite},  // and below a bound
    {"sCurveUnitaryMap", "finalSlope", Kind::Finite},
    {"sCurveUnitaryMap", "centerSlope", Kind::Finite},
    {"linearMultivariableConstraint", "offset", Kind::Finite},
    {"linearMultivariableConstraint", "firstOrderCoefficients", Kind::Finite},
    {"quadraticMultivariableConstraint", "offset", Kind::Finite},
    {"quadraticMultivariableConstraint", "firstOrderCoefficients", Kind::Finite},
    {"quadraticMultivariableConstraint", "secondOrderCoefficients", Kind::Finite},
};

void reportRange(Document& document, Range const& range, Spot const& spot, double value,
                 std::size_t count) {
    document.report(range.kind == Kind::Finite ? Rule::Finite : Rule::Range, spot,
                    std::string(range.component) + " is " + shown(value) + andMore(count) +
                        ": write a " + range.text());
}

void checkRange(Document& document, Range const& range, Node const& child) {
    auto const isOutside = [&](Number const& number) { return !range.contains(number.value); };
    auto const first = std::ranges::find_if(child.numbers, isOutside);
    if (first != child.numbers.end()) {
        auto const count = std::ranges::count_if(child.numbers, isOutside);
        reportRange(document, range, Spot::ofItem(child, first->place), first->value,
                    static_cast<std::size_t>(count));
    }
}

}  // namespace

void checkRanges(Document& document, Node const& node) {
    for (Range const& range : ranges) {
        Node const* const child = range.element == node.name ? node.find(range.component) : nullptr;
        if (!child) {
            continue;
        }
        checkRange(document, range, *child);
        Number number{0.0, child->place};
        bool const isNumber =
            KrXmlText<double>::parse(child->text, number.value) == KrXmlParse::Good;
        if (isNumber && !range.contains(number.value)) {
            reportRange(document, range, Spot::ofChild(*child), number.value, 1);
        }
    }
}

}  // namespace KrLintRules
