#pragma once

#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlVectorType.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

/// An index of the lists of a constraint: the first position of a key in the list of
/// keys, and the coefficient at that position of the second list. A key is a row and a
/// column, `row << 32 | column`. A list of single indices is the row 0.
///
/// The index is a compressed sparse matrix: rows ascending, and columns ascending in each
/// row. A look-up in a row of contiguous columns needs no search. Keys that are appended
/// to the lists later go to a hash table, until the next `build` sorts them in. Memory is
/// proportional to the list, whatever the numbers in it.
class KrCoefficientIndex {
public:
    using Key = std::uint64_t;

    /// Returned by a look-up that finds nothing.
    static constexpr std::size_t npos = ~std::size_t{0};

    static Key keyOf(KrU32 row, KrU32 column) { return Key{row} << 32 | column; }
    static KrU32 rowOf(Key key) { return static_cast<KrU32>(key >> 32); }
    static KrU32 columnOf(Key key) { return static_cast<KrU32>(key); }

    /// The listed columns of a row, ascending, and their coefficients.
    struct Row {
        KrU32 number = 0;
        KrU32 firstColumn = 0;
        std::span<double const> values;
        Key const* keys = nullptr;
        bool contiguous = true;  // value k belongs to column firstColumn + k

        KrU32 column(std::size_t k) const { return columnOf(keys[k]); }

        /// The row without its columns from `n` on.
        Row below(KrU32 n) const {
            Row row = *this;
            if (contiguous) {
                row.values = values.first(
                    std::min<std::size_t>(values.size(), n - std::min(n, firstColumn)));
            } else if (column(values.size() - 1) >= n) {
                row.values = values.first(countBelow(n));
            }
            return row;
        }
        std::size_t countBelow(KrU32 n) const;

        /// Calls `term(coefficient, column)` for each column, in ascending order. Contiguous
        /// columns are counted: reading them makes the gradient of a linear constraint of
        /// 1000 coefficients 11 % slower, and its value 8 %.
        template <class Term>
        void forEach(Term term) const {
            std::size_t const count = values.size();
            double const* const coefficients = values.data();
            if (contiguous) {
                std::size_t const first = firstColumn;
                for (std::size_t k = 0; k < count; ++k) {
                    term(coefficients[k], first + k);
                }
            } else {
                for (std::size_t k = 0; k < count; ++k) {
                    term(coefficients[k], column(k));
                }
            }
        }
    };

    /// Replaces the index by that of the two lists. If a key has no value, its coefficient
    /// is 0.0. If its column is less than its row, it is left out. If memory runs out, the
    /// index is of no use.
    void build(std::vector<Key> const& keys, KrXmlRealVector const& values);

    /// Records a key that is new in the list.
    void append(Key key, KrU32 position) { appended_.emplace(key, position); }
    bool hasAppended() const { return !appended_.empty(); }
    /// Whether enough keys are appended that sorting them in pays. Twice the size each time
    /// keeps the cost of n settings at O(n log n). Without the 64, ten settings and one
    /// evaluation take 1.4 times as long.
    bool needsRebuild() const { return appended_.size() > keys_.size() + 64; }

    /// The place of a key in the sorted keys if no search is needed: every row up to its own
    /// is listed, and in its row every column from the first up to its own. Else `npos`.
    std::size_t findDirect(std::size_t row, std::size_t column) const {
        if (row < leadingRows_) [[likely]] {
            RowStart const& start = rows_[row];
            std::size_t const offset = column - start.firstColumn;
            if (offset < start.contiguous) [[likely]] {
                return start.begin + offset;
            }
        }
        return npos;
    }
    /// The place of a key in the sorted keys.
    std::size_t find(KrU32 row, KrU32 column) const;
    /// The position in the list of an appended key.
    std::size_t findAppended(Key key) const {
        auto const entry = appended_.find(key);
        return entry != appended_.end() ? entry->second : npos;
    }

    /// The sorted keys, without the appended ones.
    std::vector<Key> const& keys() const { return keys_; }
    /// The coefficient of the key at `place`.
    double const& coefficient(std::size_t place) const { return coefficients_[place]; }
    double& coefficient(std::size_t place) { return coefficients_[place]; }
    /// The first position in the list of the key at `place`.
    KrU32 position(std::size_t place) const { return positions_[place]; }

    /// The rows that have columns, ascending, without the appended keys.
    std::size_t rowCount() const { return rows_.size() - 1; }
    KrU32 rowNumber(std::size_t r) const { return rows_[r].number; }
    Row row(std::size_t r) const {
        RowStart const& start = rows_[r];
        KrU32 const count = rows_[r + 1].begin - start.begin;
        return {start.number,
                start.firstColumn,
                {coefficients_.data() + start.begin, count},
                keys_.data() + start.begin,
                start.contiguous == count};
    }
    /// Row 0 without its columns from `n` on: the entries of a list of single indices.
    Row line(KrU32 n) const { return rowCount() == 0 ? Row() : row(0).below(n); }

private:
    struct RowStart {
        KrU32 number;
        KrU32 begin;  // the place of the row's first key
        KrU32 firstColumn;
        KrU32 contiguous;  // the number of columns from the first on without a gap
    };

    std::vector<RowStart> rows_;  // the last one marks the end
    KrU32 leadingRows_ = 0;       // rows_[r].number == r for every r below leadingRows_
    std::vector<Key> keys_;
    std::vector<double> coefficients_;
    std::vector<KrU32> positions_;
    std::unordered_map<Key, KrU32> appended_;
};
