#include "function/multivariable/KrCoefficientIndex.h"

#include <numeric>

KR_SOURCE_VERSION;

std::size_t KrCoefficientIndex::Row::countBelow(KrU32 n) const {
    Key const end = keys[0] - column(0) + n;
    return static_cast<std::size_t>(std::lower_bound(keys, keys + values.size(), end) - keys);
}

void KrCoefficientIndex::build(std::vector<Key> const& keys, std::vector<double> const& values) {
    clear();  // until the last line
    rows_.clear();
    keys_.clear();
    coefficients_.clear();
    positions_.clear();
    appended_.clear();
    KrU32 leadingRows = 0;
    std::vector<KrU32> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    if (!std::is_sorted(keys.begin(), keys.end())) {
        // Of equal keys the one listed first stays first.
        std::stable_sort(order.begin(), order.end(),
                         [&](KrU32 a, KrU32 b) { return keys[a] < keys[b]; });
    }
    keys_.reserve(keys.size());
    coefficients_.reserve(keys.size());
    positions_.reserve(keys.size());
    for (KrU32 const position : order) {
        Key const key = keys[position];
        KrU32 const row = static_cast<KrU32>(key >> 32);
        KrU32 const column = static_cast<KrU32>(key);
        if (column < row || (!keys_.empty() && keys_.back() == key)) {
            continue;
        }
        if (rows_.empty() || rows_.back().number != row) {
            leadingRows += row == rows_.size() ? 1 : 0;
            rows_.push_back({row, static_cast<KrU32>(keys_.size()), column, 0});
        }
        rows_.back().run += column == rows_.back().firstColumn + rows_.back().run ? 1 : 0;
        keys_.push_back(key);
        coefficients_.push_back(position < values.size() ? values[position] : 0.0);
        positions_.push_back(position);
    }
    rows_.push_back({none, static_cast<KrU32>(keys_.size()), none, 0});
    leadingRows_ = leadingRows;
    built_ = true;
}

std::size_t KrCoefficientIndex::find(KrU32 row, KrU32 column) const {
    Key const key = Key{row} << 32 | column;
    auto const place = std::lower_bound(keys_.begin(), keys_.end(), key);
    return place != keys_.end() && *place == key ? static_cast<std::size_t>(place - keys_.begin())
                                                 : nowhere;
}
