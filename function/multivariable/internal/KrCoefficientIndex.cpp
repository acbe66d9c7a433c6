#include "function/multivariable/internal/KrCoefficientIndex.h"

#include "foundation/core/KrExport.h"

#include <numeric>

KR_SOURCE_VERSION;

std::size_t KrCoefficientIndex::Row::countBelow(KrU32 n) const {
    Key const* const end = std::lower_bound(keys, keys + values.size(), keyOf(number, n));
    return static_cast<std::size_t>(end - keys);
}

void KrCoefficientIndex::build(std::vector<Key> const& keys, KrXmlRealVector const& values) {
    rows_.clear();
    leadingRows_ = 0;
    keys_.clear();
    coefficients_.clear();
    positions_.clear();
    appended_.clear();
    std::vector<KrU32> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    if (!std::is_sorted(keys.begin(), keys.end())) {
        // Stable: of equal keys the one listed first stays first.
        std::stable_sort(order.begin(), order.end(),
                         [&](KrU32 a, KrU32 b) { return keys[a] < keys[b]; });
    }
    keys_.reserve(keys.size());
    coefficients_.reserve(keys.size());
    positions_.reserve(keys.size());
    for (KrU32 const position : order) {
        Key const key = keys[position];
        KrU32 const row = rowOf(key);
        KrU32 const column = columnOf(key);
        if (column < row || (!keys_.empty() && keys_.back() == key)) {
            continue;
        }
        if (rows_.empty() || rows_.back().number != row) {
            leadingRows_ += row == rows_.size() ? 1 : 0;
            rows_.push_back({row, static_cast<KrU32>(keys_.size()), column, 0});
        }
        RowStart& last = rows_.back();
        last.contiguous += column == last.firstColumn + last.contiguous ? 1 : 0;
        keys_.push_back(key);
        coefficients_.push_back(position < values.size() ? values[position].value() : 0.0);
        positions_.push_back(position);
    }
    rows_.push_back({0, static_cast<KrU32>(keys_.size()), 0, 0});
}

std::size_t KrCoefficientIndex::find(KrU32 row, KrU32 column) const {
    std::size_t const direct = findDirect(row, column);
    if (direct != npos) {
        return direct;
    }
    Key const key = keyOf(row, column);
    auto const place = std::lower_bound(keys_.begin(), keys_.end(), key);
    return place != keys_.end() && *place == key ? static_cast<std::size_t>(place - keys_.begin())
                                                 : npos;
}
