#include "foundation/xml/KrXmlReader.h"
#include "function/tools/KrGaussQuadrature.h"
#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

constexpr double largestIndex = 4294967295.0;

// The positions of those `keys` that stand at an earlier position too.
template <class Key>
std::vector<std::size_t> repeated(std::vector<Key> const& keys) {
    std::vector<std::size_t> order(keys.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
        order[k] = k;
    }
    std::ranges::stable_sort(order, {}, [&](std::size_t k) { return keys[k]; });
    std::vector<std::size_t> found;
    for (std::size_t k = 1; k < order.size(); ++k) {
        if (keys[order[k]] == keys[order[k - 1]]) {
            found.push_back(order[k]);
        }
    }
    std::ranges::sort(found);
    return found;
}

// Reports an index that no variable of the search around the constraint has.
void checkLargest(Document& document, Node const& list, double index, Place place) {
    document.reportIf(
        {0.0, index, false}, Rule::IndexRange, Spot::ofItem(list, place),
        "the search has no variable of index " + shown(index) + ": indices begin at 0");
}

void checkIndices(Document& document, Node const& list) {
    std::vector<double> keys;
    keys.reserve(list.numbers.size());
    for (Number const& number : list.numbers) {
        keys.push_back(number.value);
    }
    if (auto const again = repeated(keys); !again.empty()) {
        document.report(Rule::DuplicateIndex, Spot::ofItem(list, list.numbers[again[0]].place),
                        "index " + shown(keys[again[0]]) + " is listed before" +
                            andMore(again.size()) +
                            ", and its first coefficient counts: add the coefficients");
    }
    if (auto const last = std::ranges::max_element(list.numbers, {}, &Number::value);
        last != list.numbers.end() && document.isInside("search")) {
        checkLargest(document, list, last->value, last->place);
    }
}

void checkPairOrder(Document& document, Node const& list) {
    auto const isSwapped = [](IndexPair const& pair) { return pair.first > pair.second; };
    auto const first = std::ranges::find_if(list.pairs, isSwapped);
    if (first != list.pairs.end()) {
        auto const count = std::ranges::count_if(list.pairs, isSwapped);
        document.report(Rule::PairOrder, Spot::ofItem(list, first->place),
                        "the pair " + shown(first->first) + ", " + shown(first->second) +
                            " is left out of the sum" + andMore(static_cast<std::size_t>(count)) +
                            ": write the smaller index first");
    }
}

void checkPairs(Document& document, Node const& list) {
    checkPairOrder(document, list);
    std::vector<std::pair<double, double>> keys;
    keys.reserve(list.pairs.size());
    for (IndexPair const& pair : list.pairs) {
        keys.emplace_back(pair.first, pair.second);
    }
    if (auto const again = repeated(keys); !again.empty()) {
        IndexPair const& pair = list.pairs[again[0]];
        document.report(Rule::DuplicateIndex, Spot::ofItem(list, pair.place),
                        "the pair " + shown(pair.first) + ", " + shown(pair.second) +
                            " is listed before" + andMore(again.size()) +
                            ", and its first coefficient counts: add the coefficients");
    }
    if (auto const last = std::ranges::max_element(list.pairs, {}, &IndexPair::second);
        last != list.pairs.end() && document.isInside("search")) {
        checkLargest(document, list, last->second, last->place);
    }
}

void checkSlope(Document& document, Node const& node, char const* component, double slope,
                double bound, bool isUpper) {
    Node const* const child = node.find(component);
    // A slope on its bound is clamped by 1e-7 only, which no figure shows.
    bool const isGood = isUpper ? 0.0 <= slope && slope <= bound : bound <= slope;
    if (std::isfinite(slope) && !isGood) {
        document.report(Rule::Range, child ? Spot::ofChild(*child) : Spot::of(node),
                        std::string(component) + " is " + shown(slope) + ": write a number " +
                            (isUpper ? "from 0 to " : "of at least ") + shown(bound));
    }
}

}  // namespace

void checkLengths(Document& document, Node const& node, char const* list, char const* other) {
    auto const length = node.length(list);
    auto const otherLength = node.length(other);
    if (length && otherLength && *length != *otherLength) {
        Node const* const child = node.find(list) ? node.find(list) : node.find(other);
        document.report(Rule::ListLengths, Spot::ofChild(*child),
                        std::string(list) + " has " + counted(*length, "item") + ", " + other +
                            ' ' + std::to_string(*otherLength) + ": give each item its partner");
    }
}

void checkMultipoint(Document& document, Node& node) {
    if (Node const* const abscissae = node.find("domainValues")) {
        checkMonotone(document, *abscissae, false);
    }
    checkLengths(document, node, "rangeValues", "domainValues");
}

// The bounds of the slopes depend on the centre, and that of the slope at the centre on the
// slopes at the ends, which are clamped to their own bounds.
void checkSCurve(Document& document, Node& node) {
    double const center = node.number("center", 0.5);
    if (!(center > 0.0 && center < 1.0)) {
        return;
    }
    double const left = 0.5 / center;
    double const right = 0.5 / (1.0 - center);
    double const first = node.number("initialSlope", 0.0);
    double const last = node.number("finalSlope", 0.0);
    checkSlope(document, node, "initialSlope", first, left, true);
    checkSlope(document, node, "finalSlope", last, right, true);
    double const least =
        std::max(2.0 * left - std::min(first, left), 2.0 * right - std::min(last, right));
    checkSlope(document, node, "centerSlope", node.number("centerSlope", 4.0), least, false);
}

void checkLinearConstraint(Document& document, Node& node) {
    checkLengths(document, node, "firstOrderIndices", "firstOrderCoefficients");
    if (Node const* const indices = node.find("firstOrderIndices")) {
        checkIndices(document, *indices);
    }
}

void checkQuadraticConstraint(Document& document, Node& node) {
    checkLinearConstraint(document, node);
    checkLengths(document, node, "secondOrderIndexPairs", "secondOrderCoefficients");
    if (Node const* const pairs = node.find("secondOrderIndexPairs")) {
        checkPairs(document, *pairs);
    }
}

void checkQuadrature(Document& document, Node& node) {
    Node const* const order = node.find("order");
    double const value = node.number("order", 10.0);
    if (!order || !(value >= 0.0 && value <= largestIndex)) {
        return;  // the default, or refused
    }
    double const* abscissas = nullptr;
    double const* weights = nullptr;
    KrGaussQuadrature().obtainAbscissasAndWeights(static_cast<KrU32>(value), abscissas, weights);
    if (!abscissas) {
        document.report(Rule::QuadratureOrder, Spot::ofChild(*order),
                        "there is no rule of order " + shown(value) +
                            ": write 2 to 20, 32, 64, 96, 100 or 128");
    }
}

}  // namespace KrLintRules
