#pragma once

#include "function/tools/KrLint.h"
#include "function/tools/internal/KrLintDocument.h"

#include <array>
#include <span>

// The rules of `KrLint`. Each check runs at the end tag of its element, with what the document has
// kept of it.
namespace KrLintRules {

/// All rules, in the order of `Rule`.
extern std::array<KrLint::Rule, static_cast<std::size_t>(Rule::Count)> const rules;

/// The rule of a name; `Rule::Count` if there is none.
Rule ruleOf(std::string_view name);

/// Runs all checks of the element `node`, which is the innermost open one.
void check(Document& document, Node& node);

/// Reports settings outside their admissible ranges.
void checkRanges(Document& document, Node const& node);

// Tables and composite functions.
void checkAxis(Document& document, Node& node);
void checkTable(Document& document, Node& node);
void checkBranch(Document& document, Node& node);

// Functions, constraints and quadrature.
void checkMultipoint(Document& document, Node& node);
void checkSCurve(Document& document, Node& node);
void checkLinearConstraint(Document& document, Node& node);
void checkQuadraticConstraint(Document& document, Node& node);
void checkQuadrature(Document& document, Node& node);

// Optimizers and searches.
void checkOptimizer(Document& document, Node& node);
void checkVariable(Document& document, Node& node);
void checkVariables(Document& document, Node& node);
void checkSearch(Document& document, Node& node);

/// Reports a list that does not ascend, or if `orDescend`, descend, strictly. True if it does.
/// NaN and infinite values are left to the ranges.
bool checkMonotone(Document& document, Node const& list, bool orDescend);

/// Reports two lists of a node that have unlike lengths.
void checkLengths(Document& document, Node const& node, char const* list, char const* other);

/// `value` as documents write it.
std::string shown(double value);
/// "1 value", "2 values".
std::string counted(std::size_t count, char const* noun);
/// ", and 3 more" of several like findings of which the first is reported.
std::string andMore(std::size_t count);

}  // namespace KrLintRules
