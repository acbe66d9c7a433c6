#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

/// Where a key stands first in a list of keys, and the coefficient at that place
/// of a second list. A key is a row and a column, `row << 32 | column`; a list of
/// single indices is the row 0.
///
/// Most of the list is kept as a compressed sparse matrix, rows and columns
/// ascending, in which a key of a gapless row is found without a search. What is
/// appended waits in a hash table until there is enough of it, or the rows are asked
/// for, and is then sorted in.
/// Memory is in proportion to the list, whatever the numbers in it.
///
/// The index is derived from the lists: a copy starts without, and an assignment
/// drops it.
class KR_EXPORT KrCoefficientIndex {
public:
    using Key = std::uint64_t;

    /// The columns of a row that are listed, ascending, and their coefficients.
    struct Row {
        KrU32 number = 0;
        KrU32 firstColumn = 0;
        std::span<double const> values;
        Key const* keys = nullptr;
        bool gapless = true;  // the columns follow one another from the first on

        KrU32 column(std::size_t k) const { return static_cast<KrU32>(keys[k]); }

        /// The row without its columns from `n` on.
        Row below(KrU32 n) const {
            Row row = *this;
            if (gapless) {
                row.values = values.first(
                    std::min<std::size_t>(values.size(), n - std::min(n, firstColumn)));
            } else if (column(values.size() - 1) >= n) {
                row.values = values.first(countBelow(n));
            }
            return row;
        }
        std::size_t countBelow(KrU32 n) const;

        /// Calls `term(coefficient, column)` for each column, in order. A row
        /// without gaps needs no look at its columns.
        template <class Term>
        void forEach(Term term) const {
            std::size_t const count = values.size();
            double const* const coefficients = values.data();
            if (gapless) {
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

    KrCoefficientIndex() = default;
    KrCoefficientIndex(KrCoefficientIndex const&) {}
    KrCoefficientIndex(KrCoefficientIndex&& source) noexcept { source.clear(); }
    KrCoefficientIndex& operator=(KrCoefficientIndex const&) {
        clear();
        return *this;
    }
    KrCoefficientIndex& operator=(KrCoefficientIndex&& source) noexcept {
        clear();
        source.clear();
        return *this;
    }
    ~KrCoefficientIndex() = default;
    bool operator==(KrCoefficientIndex const&) const { return true; }

    void clear() {
        built_ = false;
        leadingRows_ = 0;
    }
    bool isBuilt() const { return built_; }
    bool hasAppended() const { return !appended_.empty(); }
    /// Whether so much was appended that building anew pays.
    bool isWorn() const { return appended_.size() > keys_.size() + 64; }

    /// Builds the index of `keys` and `values`. A key without a value counts as
    /// 0.0; one whose column is less than its row is passed over.
    void build(std::vector<Key> const& keys, std::vector<double> const& values);

    /// Follows the list when a key that is not listed was appended to it.
    void append(Key key, KrU32 position) { appended_.emplace(key, position); }

    static constexpr std::size_t nowhere = ~std::size_t{0};

    /// The place of a key in the rows, as far as it needs no search; without an
    /// index it finds none.
    std::size_t findDirect(KrU32 row, KrU32 column) const {
        if (row < leadingRows_) {
            RowStart const& start = rows_[row];
            KrU32 const offset = column - start.firstColumn;
            if (offset < start.run) {
                return start.begin + offset;
            }
        }
        return nowhere;
    }
    /// The place of a key in the rows.
    std::size_t find(KrU32 row, KrU32 column) const;

    double const& coefficient(std::size_t place) const { return coefficients_[place]; }
    double& coefficient(std::size_t place) { return coefficients_[place]; }
    /// Where the key at that place stands in the list.
    KrU32 position(std::size_t place) const { return positions_[place]; }

    static constexpr KrU32 none = 0xffffffff;

    /// Where an appended key stands in the list; `none` when it was not appended.
    KrU32 findAppended(Key key) const {
        auto const entry = appended_.find(key);
        return entry != appended_.end() ? entry->second : none;
    }

    // The keys, ascending, without what was appended; their places are those of
    // `coefficient`.
    std::vector<Key> const& keys() const { return keys_; }

    // The same by rows.
    std::size_t rowCount() const { return rows_.empty() ? 0 : rows_.size() - 1; }
    KrU32 rowNumber(std::size_t r) const { return rows_[r].number; }
    Row row(std::size_t r) const {
        RowStart const& start = rows_[r];
        KrU32 const count = rows_[r + 1].begin - start.begin;
        return {start.number,
                start.firstColumn,
                {coefficients_.data() + start.begin, count},
                keys_.data() + start.begin,
                start.run == count};
    }

private:
    struct RowStart {
        KrU32 number;
        KrU32 begin;
        KrU32 firstColumn;
        KrU32 run;  // so many columns follow one another without a gap
    };

    std::vector<RowStart> rows_;  // those that have columns, and one behind the last
    KrU32 leadingRows_ = 0;       // so many rows are those of their numbers
    std::vector<Key> keys_;
    std::vector<double> coefficients_;
    std::vector<KrU32> positions_;
    std::unordered_map<Key, KrU32> appended_;
    bool built_ = false;
};
