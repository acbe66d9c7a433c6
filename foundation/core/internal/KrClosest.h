#pragma once

#include <string_view>
#include <vector>

/// The first of the `candidates` that becomes `name` by the fewest insertions, deletions,
/// replacements and exchanges of neighbouring letters: one or two, and no more than half
/// of the letters. Empty when there is none. For messages that ask whether it was meant.
///
/// F. J. Damerau, Communications of the ACM 7 (1964), in the form that changes no letter twice.
std::string_view krClosest(std::string_view name, std::vector<std::string_view> const& candidates);
