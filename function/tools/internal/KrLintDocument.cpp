#include "function/tools/internal/KrLintDocument.h"

#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlText.h"
#include "foundation/xml/KrXmlTokens.h"
#include "foundation/xml/internal/KrCharacters.h"
#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

// The number of findings of one document that are kept.
constexpr std::size_t mostFindings = 1000;

// The number of different children of an element that are kept, more than any element has. The
// axes of a table are at most as many.
constexpr std::size_t mostChildren = 64;

constexpr std::string_view mark = "zeibreku-lint";

// The elements that hold one element of a family. If a document has several, the last one counts.
constexpr std::string_view containers[] = {
    "compositeFunctionContainer",       "scalarFunctionContainer", "unitaryMapContainer",
    "multivariableConstraintContainer", "optimizerContainer",      "optimizer",
};

List summary(Node const& list) {
    List result{list.numbers.size(), 0, {}, list.place};
    for (Number const& number : list.numbers) {
        if (!std::isfinite(number.value) && result.notFinite++ == 0) {
            result.firstNotFinite = number.place;
        }
    }
    return result;
}

void attachItem(Node& parent, Node& item) {
    Node const* const first = item.find("first");
    if (parent.name == "dependentData") {
        parent.lists.push_back(summary(item));
        parent.isDamaged = parent.isDamaged || item.isDamaged;
    } else if (double value = 0.0; item.childCount == 0) {
        if (KrXmlText<double>::parse(item.text, value) == KrXmlParse::Good) {
            parent.numbers.push_back({value, item.place});
        } else {
            parent.isDamaged = true;
        }
    } else if (first && item.find("second")) {
        parent.pairs.push_back({item.number("first", 0.0), item.number("second", 0.0), item.place});
    } else {
        parent.isDamaged = true;
    }
}

}  // namespace

Node const* Node::find(std::string_view child) const {
    auto const found = std::ranges::find(children, child, &Node::name);
    return found == children.end() ? nullptr : &*found;
}

double Node::number(std::string_view child, double otherwise) const {
    Node const* const found = find(child);
    double value = otherwise;
    if (found && KrXmlText<double>::parse(found->text, value) != KrXmlParse::Good) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return value;
}

std::string_view Node::attribute(std::string_view attribute, std::string_view otherwise) const {
    for (auto const& [known, value] : attributes) {
        if (known == attribute) {
            return krXmlTrimmed(value);
        }
    }
    return otherwise;
}

std::optional<std::size_t> Node::length(std::string_view list) const {
    Node const* const found = find(list);
    if (!found) {
        return 0;
    }
    return found->isDamaged ? std::optional<std::size_t>()
                            : found->numbers.size() + found->pairs.size();
}

void Node::start(KrToken const& newTag, Place newPlace) {
    tag = &newTag;
    bool const isOurs = newTag.namespaceUri() == KrXml::namespaceUri;
    name = isOurs ? newTag.localName() : std::string_view();
    place = newPlace;
    text.clear();
    attributes.clear();
    names.clear();
    childCount = 0;
    axis.reset();
    region.reset();
    numbers.clear();
    pairs.clear();
    lists.clear();
    children.clear();
    isDamaged = false;
}

void Node::shrink() {
    numbers = {};
    pairs = {};
    lists = {};
    children = {};
}

Spot Spot::ofItem(Node const& list, Place place) {
    return {place, {list.tag, &KrXml::KrItemToken}};
}

void Document::startElement(KrToken const& tag, KrU32 line, KrU32 column) {
    Place const place{line, column};
    for (std::size_t const rule : endedSilences_) {
        silences_.at(rule).back().end = place;
    }
    endedSilences_.clear();
    if (depth_ == stack_.size()) {
        stack_.emplace_back();
    }
    ++depth_;
    top().start(tag, place);
    tags_.push_back(&tag);
    if (!next_.empty()) {
        silence(place);
    }
    bool const isContained =
        depth_ == 2 && stack_[0].name == "scalarFunctionContainer" && top().name != "addLibraries";
    if (depth_ == 1 || isContained) {
        function_.line = line;
        function_.column = column;
        function_.path = krXmlPath(tags_);
    }
}

void Document::attribute(KrToken const& name, std::string_view value) {
    top().attributes.emplace_back(name.localName(), value);
}

void Document::text(std::string_view piece) {
    if (depth_ > 0) {
        top().text += piece;
    }
}

void Document::endElement() {
    refuseUnused();
    if (top().name != "item") {
        check(*this, top());
    }
    while (!openSilences_.empty() && openSilences_.back().depth == depth_) {
        endedSilences_.push_back(openSilences_.back().rule);
        openSilences_.pop_back();
    }
    tags_.pop_back();
    --depth_;
    if (depth_ > 0) {
        attach(stack_[depth_ - 1], stack_[depth_]);
    }
}

void Document::attach(Node& parent, Node& node) {
    if (node.name == "addLibraries") {
        return;
    }
    ++parent.childCount;
    if (parent.childCount > 1 &&
        std::ranges::find(containers, parent.name) != std::end(containers)) {
        report(Rule::ChildCount, Spot::ofChild(node),
               "this element replaces the one before: write one into a container");
    }
    if (node.name == "item") {
        attachItem(parent, node);
    } else if (parent.name == "variables") {
        std::ranges::move(node.names, std::back_inserter(parent.names));
    } else if (parent.name == "compositeFunctionBranch") {
        if (parent.children.size() == 2) {
            report(Rule::ChildCount, Spot::ofChild(node),
                   "this child replaces the second one: put two of them into a branch");
            parent.children.pop_back();
        }
        parent.children.push_back(std::move(node));
    } else if (parent.children.size() >= mostChildren) {
        parent.isDamaged = true;
    } else if (parent.name == "independentData" ||
               (!node.name.empty() && !parent.find(node.name))) {
        parent.children.push_back(std::move(node));
    }
}

void Document::silence(Place place) {
    for (std::size_t const rule : next_) {
        auto& known = silences_.at(rule);
        bool const isInsideOne = !known.empty() && known.back().end.line == Place::end;
        if (!isInsideOne) {
            known.push_back({place});
            openSilences_.push_back({depth_, rule});
        }
    }
    next_.clear();
}

void Document::comment(std::string_view text, KrU32 line, KrU32 column) {
    std::string_view const directive = krXmlTrimmed(text);
    if (!directive.starts_with(mark)) {
        return;
    }
    std::string_view const rest = krXmlTrimmed(directive.substr(mark.size()));
    if (rest.starts_with(':')) {
        readDirective(krXmlTrimmed(rest.substr(1)), {line, column});
    } else if (rest.starts_with("disable")) {
        reportComment({line, column}, "it silences nothing: write a colon before \"disable\"");
    }
}

void Document::readDirective(std::string_view text, Place place) {
    constexpr std::string_view verb = "disable=";
    if (!text.starts_with(verb)) {
        reportComment(place, "found " + krXmlQuoted(text) + ": write disable=RULE[,RULE]");
        return;
    }
    text.remove_prefix(verb.size());
    if (text.empty()) {
        reportComment(place, "it silences nothing: write a rule after \"disable=\"");
    }
    while (!text.empty()) {
        std::size_t const end = std::min(text.find(','), text.size());
        std::string_view const name = krXmlTrimmed(text.substr(0, end));
        Rule const rule = ruleOf(name);
        if (rule != Rule::Count) {
            next_.push_back(static_cast<std::size_t>(rule));
            nextPlace_ = place;
        } else {
            reportComment(place, "there is no rule " + krXmlQuoted(name) +
                                     ": zeibreku check --help lists them");
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void Document::reportComment(Place place, std::string const& sentence) {
    report(Rule::LintComment, {place, {}}, sentence);
}

// A comment silences the next element of the same parent.
void Document::refuseUnused() {
    if (!next_.empty()) {
        next_.clear();
        reportComment(nextPlace_, "no element follows that it could silence: put it before one");
    }
}

bool Document::isSilenced(Rule rule, Place place) const {
    auto const index = static_cast<std::size_t>(rule);
    auto const& known = silences_.at(index);
    auto const behind = std::ranges::upper_bound(known, place, {}, &Silence::begin);
    return disabled_.at(index) || (behind != known.begin() && place < std::prev(behind)->end);
}

KrLintFinding Document::finding(Rule rule, Spot const& spot, std::string const& sentence) const {
    KrLint::Rule const& row = rules.at(static_cast<std::size_t>(rule));
    std::vector<KrToken const*> tags = tags_;
    tags.insert(tags.end(), spot.below.begin(), spot.below.end());
    return {file_,           spot.place.line,       spot.place.column,
            krXmlPath(tags), std::string(row.name), row.severity,
            sentence};
}

void Document::add(KrLintFinding&& finding) {
    if (findings_.size() < mostFindings) {
        findings_.push_back(std::move(finding));
    } else {
        ++omitted_;
    }
}

void Document::report(Rule rule, Spot const& spot, std::string const& sentence) {
    if (!isSilenced(rule, spot.place)) {
        add(finding(rule, spot, sentence));
    }
}

void Document::reportIf(Condition const& condition, Rule rule, Spot const& spot,
                        std::string const& sentence) {
    if (!isSilenced(rule, spot.place)) {
        conditionals_.push_back({condition, finding(rule, spot, sentence)});
    }
}

void Document::settle(double variables, bool hasLimit) {
    for (Conditional& conditional : conditionals_) {
        Condition const& condition = conditional.condition;
        if (condition.leastVariables <= variables && variables <= condition.mostVariables &&
            !(condition.hasNoLimit && hasLimit)) {
            add(std::move(conditional.finding));
        }
    }
    conditionals_.clear();
}

void Document::reportAtFunction(Rule rule, std::string const& sentence) {
    Place const place{function_.line, function_.column};
    if (!isSilenced(rule, place)) {
        KrLintFinding found = finding(rule, {place, {}}, sentence);
        found.path = function_.path;
        add(std::move(found));
    }
}

bool Document::isInside(std::string_view name) const {
    for (std::size_t i = 0; i + 1 < depth_; ++i) {
        if (stack_[i].name == name) {
            return true;
        }
    }
    return false;
}

std::vector<KrLintFinding> Document::findings() {
    refuseUnused();
    std::ranges::stable_sort(findings_, {}, [](KrLintFinding const& finding) {
        return Place{finding.line, finding.column};
    });
    if (omitted_ > 0) {
        findings_.back().sentence +=
            "; " + std::to_string(omitted_) + " more findings are left out";
    }
    return std::move(findings_);
}

}  // namespace KrLintRules
