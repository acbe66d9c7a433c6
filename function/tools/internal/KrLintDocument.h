#pragma once

#include "foundation/xml/KrXmlObserver.h"
#include "function/tools/KrLint.h"

#include <array>
#include <compare>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace KrLintRules {

/// The rules, in the order of their table.
enum class Rule {
    Breakpoints,
    NoBreakpoints,
    TableLength,
    TableSurplus,
    EqualSpaced,
    LinearSteps,
    Finite,
    ListLengths,
    DuplicateIndex,
    PairOrder,
    IndexRange,
    QuadratureOrder,
    ChildCount,
    ChildDimension,
    ChildValues,
    ChildCovered,
    Range,
    Budget,
    Endless,
    Variable,
    IncompleteSearch,
    Correlation,
    LintComment,
    Count
};

/// Where a start tag begins.
struct Place {
    static constexpr KrU32 end = std::numeric_limits<KrU32>::max();

    KrU32 line = 1;
    KrU32 column = 1;

    bool operator==(Place const&) const = default;
    std::strong_ordering operator<=>(Place const& other) const {
        return line != other.line ? line <=> other.line : column <=> other.column;
    }
};

/// An item that holds a number.
struct Number {
    double value;
    Place place;
};

/// An item that holds a pair of indices.
struct IndexPair {
    double first;
    double second;
    Place place;
};

/// What is kept of a list of numbers inside a list.
struct List {
    std::size_t size;
    std::size_t notFinite;  // how many values are NaN or infinite
    Place firstNotFinite;
    Place place;
};

/// The name of a variable.
struct Name {
    std::string text;
    KrToken const* tag;  // of the variable
    Place place;
};

struct Interval {
    double low;
    double high;
};
using Box = std::vector<Interval>;

/// What is kept of an axis of a table.
struct Axis {
    std::size_t size;
    Interval box;    // from the smallest to the largest breakpoint
    Interval reach;  // the same, endless where the axis extrapolates
};

/// What is kept of a composite function.
struct Region {
    Box box;
    std::vector<Box> reaches;  // of its tables
    std::size_t values;        // how many tables each of them has
};

/// An element: what rules need of it, and no more. Lists of numbers are kept until the rules of
/// the element around them have run.
struct Node {
    KrToken const* tag = nullptr;
    std::string_view name;  // the local name; empty in other namespaces
    Place place;
    std::string text;
    std::vector<std::pair<std::string_view, std::string>> attributes;
    std::vector<Number> numbers;
    std::vector<IndexPair> pairs;
    std::vector<List> lists;
    std::vector<Name> names;
    std::vector<Node> children;  // the first of each name; of some elements, each
    std::size_t childCount = 0;
    bool isDamaged = false;  // an item is not a number
    std::optional<Axis> axis;
    std::optional<Region> region;

    /// The child of this name, null if there is none.
    Node const* find(std::string_view child) const;
    /// The number in the child of this name. If there is no such child, `otherwise`; if its text
    /// is not a number, NaN.
    double number(std::string_view child, double otherwise) const;
    /// The value of an attribute without white space at its ends.
    std::string_view attribute(std::string_view attribute, std::string_view otherwise) const;
    /// The length of a list, 0 if there is none; nothing if it is not known.
    std::optional<std::size_t> length(std::string_view list) const;
    /// Makes it a new element.
    void start(KrToken const& newTag, Place newPlace);
    /// Forgets what only its own rules need.
    void shrink();
};

/// The place of a finding, and the tags on the way from the innermost open element to it.
struct Spot {
    Place place;
    std::vector<KrToken const*> below;

    static Spot of(Node const& node) { return {node.place, {}}; }
    static Spot ofChild(Node const& child) { return {child.place, {child.tag}}; }
    static Spot ofItem(Node const& list, Place place);
};

/// What must hold of the search around an element for a finding.
struct Condition {
    double leastVariables = 0.0;
    double mostVariables = std::numeric_limits<double>::infinity();
    bool hasNoLimit = false;
};

/// Builds the open elements of a document, runs the checks at each end tag, and collects what they
/// find. Comments silence rules.
class Document : public KrXmlObserver {
public:
    explicit Document(std::string const& file) : file_(file) {}

    /// Silences a rule in the whole document.
    void disable(Rule rule) { disabled_.at(static_cast<std::size_t>(rule)) = true; }

    void startElement(KrToken const& tag, KrU32 line, KrU32 column) override;
    void attribute(KrToken const& name, std::string_view value) override;
    void text(std::string_view piece) override;
    void endElement() override;
    void comment(std::string_view text, KrU32 line, KrU32 column) override;

    /// Adds a finding of `rule` inside the innermost open element.
    void report(Rule rule, Spot const& spot, std::string const& sentence);
    /// Adds it when the element `search` around it ends, if `condition` holds.
    void reportIf(Condition const& condition, Rule rule, Spot const& spot,
                  std::string const& sentence);
    /// Adds the findings whose condition holds in a search.
    void settle(double variables, bool hasLimit);

    /// Whether an open element around the innermost one has this name.
    bool isInside(std::string_view name) const;

    /// How many more tests of one box against another the whole document may take.
    std::size_t boxTests = 2000000;

    /// The place and the path of the root. If it is a `scalarFunctionContainer`, those of its last
    /// child, which counts.
    KrLintFinding const& function() const { return function_; }
    /// Adds a finding at `function`.
    void reportAtFunction(Rule rule, std::string const& sentence);

    /// The findings in the order of their places, after the end of the document.
    std::vector<KrLintFinding> findings();

private:
    struct Silence {
        Place begin;
        Place end{Place::end, Place::end};
    };
    struct Open {
        std::size_t depth;
        std::size_t rule;
    };
    struct Conditional {
        Condition condition;
        KrLintFinding finding;
    };
    static constexpr std::size_t count = static_cast<std::size_t>(Rule::Count);

    Node& top() { return stack_[depth_ - 1]; }
    void attach(Node& parent, Node& node);
    void silence(Place place);
    void readDirective(std::string_view text, Place place);
    void reportComment(Place place, std::string const& sentence);
    void refuseUnused();
    bool isSilenced(Rule rule, Place place) const;
    KrLintFinding finding(Rule rule, Spot const& spot, std::string const& sentence) const;
    void add(KrLintFinding&& finding);

    std::string file_;
    std::array<bool, count> disabled_{};
    std::vector<Node> stack_;  // entries are used again
    std::size_t depth_ = 0;
    std::vector<KrToken const*> tags_;  // of the open elements
    KrLintFinding function_;

    // Of each rule: elements that silence it, none inside another.
    std::array<std::vector<Silence>, count> silences_;
    std::vector<Open> openSilences_;
    std::vector<std::size_t> endedSilences_;  // since the last start tag
    std::vector<std::size_t> next_;           // rules that the next element silences
    Place nextPlace_;                         // of the comment

    std::vector<KrLintFinding> findings_;
    std::vector<Conditional> conditionals_;
    std::size_t omitted_ = 0;
};

}  // namespace KrLintRules
