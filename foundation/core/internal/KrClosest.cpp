#include "foundation/core/internal/KrClosest.h"

#include "foundation/core/KrExport.h"

#include <algorithm>
#include <array>
#include <cstddef>

KR_SOURCE_VERSION;

namespace {

constexpr std::size_t longest = 64;  // longer than any name of the library

std::size_t distance(std::string_view a, std::string_view b) {
    // rows[i % 3][j]: the distance of the first i letters of a from the first j letters of b.
    std::array<std::array<std::size_t, longest + 1>, 3> rows{};
    for (std::size_t j = 0; j <= b.size(); ++j) {
        rows[0][j] = j;
    }
    for (std::size_t i = 1; i <= a.size(); ++i) {
        auto& row = rows[i % 3];
        auto const& before = rows[(i + 2) % 3];
        auto const& beforeThat = rows[(i + 1) % 3];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min(
                {before[j] + 1, row[j - 1] + 1, before[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], beforeThat[j - 2] + 1);
            }
        }
    }
    return rows[a.size() % 3][b.size()];
}

}  // namespace

std::string_view krClosest(std::string_view name, std::vector<std::string_view> const& candidates) {
    std::string_view closest;
    std::size_t least = 3;
    for (std::string_view const candidate : candidates) {
        std::size_t const shorter = std::min(name.size(), candidate.size());
        if (std::max(name.size(), candidate.size()) > longest) {
            continue;
        }
        std::size_t const letters = distance(name, candidate);
        if (letters < least && 2 * letters <= shorter) {
            least = letters;
            closest = candidate;
        }
    }
    return closest;
}
