#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "function/multivariable/internal/KrCoefficientIndex.h"

#include <memory>

/// Operations on the coefficients of a constraint as a document lists them: a list of
/// indices or index pairs, a list of coefficients position for position, and an index of
/// both, which is built when it is first needed. If an index is not listed or its
/// coefficient is missing, the coefficient is 0.0. If an index is listed repeatedly, the
/// first listing counts.
///
/// A look-up takes constant time in a row of contiguous columns, and logarithmic time
/// otherwise. So does a setting, averaged over many.
namespace KrSparseCoefficients {

using Index = KrCoefficientIndex;
using Cache = KrCache<KrCoefficientIndex>;
using Single = KrXmlBasicType<KrU32>;
using Pair = KrXmlPairType<Single, Single>;

inline Index::Key keyOf(Single const& item) { return item.value(); }
inline Index::Key keyOf(Pair const& item) { return Index::keyOf(item.first(), item.second()); }

inline void setKey(Single& item, Index::Key key) { item = Index::columnOf(key); }
inline void setKey(Pair& item, Index::Key key) {
    item.setFirst(Single(Index::rowOf(key)));
    item.setSecond(Single(Index::columnOf(key)));
}

/// Builds the index in place, which keeps its memory: 500500 settings in a row took 1.4
/// times as long with new memory for each build. If memory runs out, there is no index.
template <class Item>
Index& build(Cache& index, KrXmlVectorType<Item> const& indices,
             KrXmlRealVector const& coefficients) {
    std::vector<Index::Key> keys;
    keys.reserve(indices.size());
    for (Item const& item : indices) {
        keys.push_back(keyOf(item));
    }
    Cache next;
    next.swap(index);
    if (!next) {
        next.set(std::make_unique<Index>());
    }
    next->build(keys, coefficients);
    next.swap(index);
    return *index;
}

/// The index with every listed key sorted in.
template <class Item>
Index const& rows(Cache& index, KrXmlVectorType<Item> const& indices,
                  KrXmlRealVector const& coefficients) {
    return index && !index->hasAppended() ? *index : build(index, indices, coefficients);
}

/// `coefficient`, if a search may be needed. Out of line, so that the look-up without a
/// search stays short.
template <class Item>
[[gnu::noinline]] double search(Cache& index, KrXmlVectorType<Item> const& indices,
                                KrXmlRealVector const& coefficients, KrU32 row, KrU32 column) {
    if (!index) {
        build(index, indices, coefficients);
    }
    std::size_t const place = index->find(row, column);
    if (place != Index::npos) {
        return index->coefficient(place);
    }
    if (!index->hasAppended()) {
        return 0.0;
    }
    std::size_t const position = index->findAppended(Index::keyOf(row, column));
    return position < coefficients.size() ? coefficients[static_cast<KrU32>(position)].value()
                                          : 0.0;
}

/// The coefficient of a row and a column, or of row 0 and a single index. The likely way is
/// marked: without that, and with 32-bit places, a derived class that forwards its look-ups
/// had its gradient of 1000 components 1.4 times as slow.
template <class Item>
inline double coefficient(Cache& index, KrXmlVectorType<Item> const& indices,
                          KrXmlRealVector const& coefficients, KrU32 row, KrU32 column) {
    if (index) [[likely]] {
        std::size_t const place = index->findDirect(row, column);
        if (place != Index::npos) [[likely]] {
            return index->coefficient(place);
        }
    }
    return search(index, indices, coefficients, row, column);
}

/// Overwrites the coefficient at the first listing of a key, or appends both. If one list
/// is shorter, it is padded first: with 0.0, or with repetitions of the key. No other key
/// gets another coefficient. If memory runs out, no coefficient changes.
template <class Item>
void setCoefficient(Cache& index, KrXmlVectorType<Item>& indices, KrXmlRealVector& coefficients,
                    KrU32 row, KrU32 column, double value) {
    Index::Key const key = Index::keyOf(row, column);
    Item item;
    setKey(item, key);
    // Lists of different lengths may be what a failed allocation has left.
    if (!index || index->needsRebuild() || indices.size() != coefficients.size()) {
        build(index, indices, coefficients);
    }
    std::size_t const place = index->find(row, column);
    std::size_t position = place != Index::npos ? index->position(place) : index->findAppended(key);
    if (indices.size() != coefficients.size()) {
        index.clear();
        // After these two lines nothing allocates until the key has its value.
        indices.reserve(coefficients.size());
        coefficients.reserve(indices.size());
        if (indices.size() < coefficients.size()) {
            position = std::min<std::size_t>(position, indices.size());
        }
        while (indices.size() < coefficients.size()) {
            indices.pushBack(item);
        }
        while (coefficients.size() < indices.size()) {
            coefficients.pushBack(KrXmlBasicType<double>(0.0));
        }
    } else if (place != Index::npos) {
        index->coefficient(place) = value;
    }
    if (position != Index::npos) {
        coefficients[static_cast<KrU32>(position)] = value;
        return;
    }
    // In this order: if an allocation fails, the key has no coefficient, which reads as 0.0.
    indices.pushBack(item);
    if (index) {
        index->append(key, indices.size() - 1);
    }
    coefficients.pushBack(KrXmlBasicType<double>(value));
}

}  // namespace KrSparseCoefficients
