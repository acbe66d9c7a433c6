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
/// appended waits in a hash table until there is enough of it to be sorted in.
/// Memory is in proportion to the list, whatever the numbers in it.
///
/// The index is derived from the lists: a copy starts without, and an assignment
/// drops it.
class KR_EXPORT KrCoefficientIndex {
public:
    using Key = std::uint64_t;

    /// The columns of a row that are listed, ascending, and their coefficients.
    struct Row {
        KrU32 number;
        std::span<KrU32 const> columns;
        std::span<double const> values;

        bool empty() const { return columns.empty(); }
        bool gapless() const { return columns.back() - columns.front() == columns.size() - 1; }
        /// The row without its columns from `n` on.
        Row below(KrU32 n) const;
    };

    /// Whether a sum that starts as `start` and adds coefficient times component
    /// of `x`, or such a product times another component, keeps its bits when the
    /// coefficients 0.0 are passed over: 0.0 times a number that is not finite is
    /// NaN, and of the finite sums only -0.0 is changed by adding a zero. No later
    /// sum is -0.0 when the first is not.
    static bool maySkipZeros(double start, std::vector<double> const& x);

    KrCoefficientIndex() = default;
    KrCoefficientIndex(KrCoefficientIndex const&) {}
    KrCoefficientIndex& operator=(KrCoefficientIndex const&) {
        clear();
        return *this;
    }
    ~KrCoefficientIndex() = default;
    bool operator==(KrCoefficientIndex const&) const { return true; }

    void clear() { keys_ = values_ = none; }

    /// Whether the index was built for, or followed, lists of these sizes.
    bool covers(KrU32 keys, KrU32 values) const { return keys_ == keys && values_ == values; }
    bool hasAppended() const { return !appended_.empty(); }
    /// Whether so much was appended that building anew pays.
    bool isWorn() const { return appended_.size() > columns_.size() + 64; }

    /// Builds the index of `keys` and `values`. A key without a value counts as
    /// 0.0; one whose column is less than its row is passed over.
    void build(std::vector<Key> const& keys, std::vector<double> const& values);

    /// Follows the lists when a key that is not listed was appended to both.
    void append(Key key) {
        appended_.emplace(key, keys_++);
        ++values_;
    }

    static constexpr std::size_t nowhere = ~std::size_t{0};

    /// The place of `key` in the rows.
    std::size_t find(Key key) const {
        KrU32 const number = static_cast<KrU32>(key >> 32);
        KrU32 const column = static_cast<KrU32>(key);
        std::size_t const row = find(rows_, 0, rows_.size(), number, number);
        if (row == nowhere) {
            return nowhere;
        }
        std::size_t const begin = starts_[row];
        return find(columns_, begin, starts_[row + 1], column, begin + (column - columns_[begin]));
    }
    double const& coefficient(std::size_t place) const { return coefficients_[place]; }
    double& coefficient(std::size_t place) { return coefficients_[place]; }
    /// Where the key at that place stands in the list.
    KrU32 position(std::size_t place) const { return positions_[place]; }

    /// Where an appended key stands in the list; `none` when it was not appended.
    KrU32 findAppended(Key key) const {
        auto const entry = appended_.find(key);
        return entry != appended_.end() ? entry->second : none;
    }
    static constexpr KrU32 none = 0xffffffff;

    // The rows, ascending, without what was appended.
    std::size_t rowCount() const { return rows_.size(); }
    KrU32 rowNumber(std::size_t r) const { return rows_[r]; }
    Row row(std::size_t r) const {
        std::size_t const begin = starts_[r];
        std::size_t const count = starts_[r + 1] - begin;
        return {rows_[r], std::span(columns_).subspan(begin, count),
                std::span(coefficients_).subspan(begin, count)};
    }

private:
    // Where `number` stands among the ascending numbers from `begin` to `end`: at
    // `guess` when there are no gaps.
    static std::size_t find(std::vector<KrU32> const& numbers, std::size_t begin, std::size_t end,
                            KrU32 number, std::size_t guess) {
        if (guess < end && numbers[guess] == number) {
            return guess;
        }
        auto const last = numbers.begin() + static_cast<std::ptrdiff_t>(end);
        auto const place =
            std::lower_bound(numbers.begin() + static_cast<std::ptrdiff_t>(begin), last, number);
        return place != last && *place == number ? static_cast<std::size_t>(place - numbers.begin())
                                                 : nowhere;
    }

    std::vector<KrU32> rows_;    // numbers of the rows that have columns
    std::vector<KrU32> starts_;  // where each begins in the three below, and their end
    std::vector<KrU32> columns_;
    std::vector<double> coefficients_;
    std::vector<KrU32> positions_;
    std::unordered_map<Key, KrU32> appended_;
    KrU32 keys_ = none;  // how long the lists are
    KrU32 values_ = none;
};
