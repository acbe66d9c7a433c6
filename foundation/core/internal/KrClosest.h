#pragma once

#include <string_view>
#include <vector>

/// The first of the `candidates` that is closest to `name`: at most two edits away, and at
/// most half as many as the shorter of the two has letters. Empty if there is none. An edit
/// inserts, deletes or replaces a letter, or exchanges two neighbours. A message that
/// refuses `name` suggests the result.
///
/// F. J. Damerau, Communications of the ACM 7 (1964), restricted to one edit a letter.
std::string_view krClosest(std::string_view name, std::vector<std::string_view> const& candidates);
