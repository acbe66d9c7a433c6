#pragma once

#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrCoefficientIndex.h"

#include <utility>
#include <vector>

/// The coefficients of a constraint as a document has them: a list of indices, or
/// of index pairs, and a list of coefficients, position for position. An index
/// that is not listed has the coefficient 0.0, and so has one whose coefficient is
/// missing; of several listings of one index the first counts.
///
/// Beyond a few entries an index of the lists is kept, built when it is first
/// needed. A look-up then takes constant time in a row without gaps, and
/// logarithmic time otherwise; so does a setting, taken over many of them.
template <class Item>
class KrSparseCoefficients {
public:
    // The components of the element. Whoever lets somebody else change them drops
    // the index.
    KrXmlVectorType<Item>* indices() { return &indices_; }
    KrXmlRealVector* coefficients() { return &coefficients_; }
    void dropIndex() { index_.clear(); }

    /// The coefficient of a key: row and column, or row 0 and an index.
    double coefficient(KrU32 row, KrU32 column) const {
        std::size_t const place = index_.findDirect(row, column);
        return place != KrCoefficientIndex::nowhere ? index_.coefficient(place)
                                                    : search(row, column);
    }

    /// Overwrites the coefficient at the first listing of a key, or appends both.
    /// The shorter list is padded before: with 0.0, or with repetitions of the key,
    /// so that nothing else gets another coefficient.
    void setCoefficient(KrU32 row, KrU32 column, double value) {
        Key const key = keyOf(row, column);
        // Once there are repetitions of the key, nothing may fail before it has its value.
        bool const indexed = !pad(key) && !areFew();
        KrU32 position;
        if (indexed) {
            if (!index_.isBuilt() || index_.isWorn()) {
                build();
            }
            std::size_t const place = index_.find(row, column);
            if (place != KrCoefficientIndex::nowhere) {
                index_.coefficient(place) = value;
                position = index_.position(place);
            } else {
                position = index_.findAppended(key);
            }
        } else {
            dropIndex();
            position = walk(key);
        }
        if (position != KrCoefficientIndex::none) {
            coefficients_[position] = value;
            return;
        }
        // In this order, so that what fails leaves the key without a coefficient, which
        // reads as 0.0.
        indices_.pushBack(itemOf(key));
        if (indexed) {
            index_.append(key, indices_.size() - 1);
        }
        coefficients_.pushBack(KrXmlBasicType<double>(value));
    }

    /// Whether there are so few that walking the list is quicker than an index.
    bool areFew() const { return indices_.size() <= 16; }

    /// All that is listed, by rows.
    KrCoefficientIndex const& rows() const {
        if (!index_.isBuilt() || index_.hasAppended()) {
            build();
        }
        return index_;
    }

    /// What is listed of single indices below n.
    KrCoefficientIndex::Row line(KrU32 n) const {
        KrCoefficientIndex const& index = rows();
        return index.rowCount() == 0 ? KrCoefficientIndex::Row() : index.row(0).below(n);
    }

    bool operator==(KrSparseCoefficients const&) const = default;

private:
    using Key = KrCoefficientIndex::Key;
    static constexpr bool single = std::is_same_v<Item, KrXmlBasicType<KrU32>>;

    static Key keyOf(KrU32 row, KrU32 column) { return Key{row} << 32 | column; }
    static Key keyOf(Item const& item) {
        if constexpr (single) {
            return item.value();
        } else {
            return keyOf(item.first(), item.second());
        }
    }
    static Item itemOf(Key key) {
        KrXmlBasicType<KrU32> column(static_cast<KrU32>(key));
        if constexpr (single) {
            return column;
        } else {
            Item item;
            item.setFirst(KrXmlBasicType<KrU32>(static_cast<KrU32>(key >> 32)));
            item.setSecond(column);
            return item;
        }
    }

    // Kept out of line, so that the look-up that needs no search stays short.
    [[gnu::noinline]] double search(KrU32 row, KrU32 column) const {
        Key const key = keyOf(row, column);
        if (!index_.isBuilt()) {
            if (areFew()) {
                return valueAt(walk(key));
            }
            build();
        }
        std::size_t const place = index_.find(row, column);
        if (place != KrCoefficientIndex::nowhere) {
            return index_.coefficient(place);
        }
        return index_.hasAppended() ? valueAt(index_.findAppended(key)) : 0.0;
    }

    KrU32 walk(Key key) const {
        for (KrU32 i = 0; i < indices_.size(); ++i) {
            if (keyOf(indices_[i]) == key) {
                return i;
            }
        }
        return KrCoefficientIndex::none;
    }

    double valueAt(KrU32 position) const {
        return position < coefficients_.size() ? coefficients_[position].value() : 0.0;
    }

    // Whether there was anything to pad, which leaves no index.
    bool pad(Key key) {
        if (indices_.size() == coefficients_.size()) {
            return false;
        }
        dropIndex();
        indices_.reserve(coefficients_.size());
        while (indices_.size() < coefficients_.size()) {
            indices_.pushBack(itemOf(key));
        }
        while (coefficients_.size() < indices_.size()) {
            coefficients_.pushBack(KrXmlBasicType<double>(0.0));
        }
        return true;
    }

    void build() const {
        std::vector<Key> keys;
        keys.reserve(indices_.size());
        for (Item const& item : indices_) {
            keys.push_back(keyOf(item));
        }
        index_.build(keys, {coefficients_.begin(), coefficients_.end()});
    }

    mutable KrCoefficientIndex index_;  // ahead of the lists: an assignment drops it first
    KrXmlVectorType<Item> indices_;
    KrXmlRealVector coefficients_;
};
