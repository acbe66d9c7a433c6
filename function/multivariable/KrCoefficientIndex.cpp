#include "function/multivariable/KrCoefficientIndex.h"

#include <bit>
#include <cmath>
#include <numeric>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

KrCoefficientIndex::Row KrCoefficientIndex::Row::below(KrU32 n) const {
    if (columns.back() < n) {
        return *this;
    }
    auto const count = static_cast<std::size_t>(
        std::lower_bound(columns.begin(), columns.end(), n) - columns.begin());
    return {number, columns.first(count), values.first(count)};
}

bool KrCoefficientIndex::maySkipZeros(double start, std::vector<double> const& x) {
    bool const zeroIsAbsorbed =
        std::bit_cast<std::uint64_t>(start + 0.0) == std::bit_cast<std::uint64_t>(start);
    return zeroIsAbsorbed && std::all_of(x.begin(), x.end(),
                                         [](double component) { return std::isfinite(component); });
}

void KrCoefficientIndex::build(std::vector<Key> const& keys, std::vector<double> const& values) {
    rows_.clear();
    starts_.clear();
    columns_.clear();
    coefficients_.clear();
    positions_.clear();
    appended_.clear();
    std::vector<KrU32> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    if (!std::is_sorted(keys.begin(), keys.end())) {
        // Of equal keys the one listed first stays first.
        std::stable_sort(order.begin(), order.end(),
                         [&](KrU32 a, KrU32 b) { return keys[a] < keys[b]; });
    }
    columns_.reserve(keys.size());
    coefficients_.reserve(keys.size());
    positions_.reserve(keys.size());
    for (KrU32 const position : order) {
        KrU32 const row = static_cast<KrU32>(keys[position] >> 32);
        KrU32 const column = static_cast<KrU32>(keys[position]);
        bool const newRow = rows_.empty() || rows_.back() != row;
        if (column < row || (!newRow && columns_.back() == column)) {
            continue;
        }
        if (newRow) {
            rows_.push_back(row);
            starts_.push_back(static_cast<KrU32>(columns_.size()));
        }
        columns_.push_back(column);
        coefficients_.push_back(position < values.size() ? values[position] : 0.0);
        positions_.push_back(position);
    }
    starts_.push_back(static_cast<KrU32>(columns_.size()));
    keys_ = static_cast<KrU32>(keys.size());
    values_ = static_cast<KrU32>(values.size());
}
