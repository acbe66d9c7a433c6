#pragma once

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlTokens.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

/// The functions that the vectors of all item types share.
namespace KrXmlVector {

/// Reads the attributes of a vector's start tag. Sets `count` if the tag states one. False,
/// with a message, if the count is malformed or another attribute is present.
KR_EXPORT KrBoolean readCount(KrXmlReader& reader, std::optional<KrU32>& count);

/// Writes the attribute with the number of items.
KR_EXPORT void writeCount(KrXmlWriter& writer, KrU32 count);

/// Describes a vector of items like `item`.
KR_EXPORT void writeSchema(KrXmlSchema& schema, KrXmlObject const& item);

/// Prints that the reader does not stand on an element.
KR_EXPORT void reportWrongMode();
/// Prints that the number of items differs from the count that the start tag states.
KR_EXPORT void reportCount(KrU32 stated, std::size_t actual);

/// How the capacity of a list grows while its items are read.
class KR_EXPORT Growth {
public:
    /// Begins with an empty list. `stated` is the count in its start tag.
    Growth(KrXmlReader const& reader, std::optional<KrU32> stated);

    /// The capacity to reserve when item number `size` arrives and the list is full. A
    /// stated count is used once an eighth of the items is present: memory stays in
    /// proportion to the document, and a correct count is not exceeded. Without a stated
    /// count, the number of items is extrapolated from the bytes that are left.
    std::size_t room(std::size_t size);

private:
    KrXmlReader const& reader_;
    std::size_t begin_;     // bytes read before the list
    std::size_t expected_;  // items, 0 when unknown
};

/// The type of an item in `KrXmlVectorType::fromValues`: the plain value if the item is a
/// `KrXmlBasicType`, otherwise the item itself.
template <class E>
struct PlainValue {
    using Type = E;  ///< the item itself
};
/// The plain value of a `KrXmlBasicType`.
template <class T>
struct PlainValue<KrXmlBasicType<T>> {
    using Type = T;  ///< the type of the value
};

}  // namespace KrXmlVector

/// A list of values, or of elements of one class, as an object of a document. An element has
/// its own tag, a value the tag `item`. On reading, the count attribute is a hint for the
/// capacity. If it differs from the number of items, a warning is printed and all items are
/// kept.
///
///     <simplexEdgeLengths count="2"><item>0.5</item><item>0.25</item></simplexEdgeLengths>
///
/// Conversions from and to plain values:
///
///     optimizer.setSimplexEdgeLengths(KrXmlRealVector::fromValues({0.5, 0.25}));
///     KrXmlRealVector const& lengths = optimizer.simplexEdgeLengths();
///     KrRealVector const values(lengths.begin(), lengths.end());
template <class E>
class KR_EXPORT KrXmlVectorType
    : public KrElement<KrXmlVectorType<E>, KrXmlObject, KrXml::KrItemToken> {
public:
    /// The plain value if the item is a `KrXmlBasicType`, otherwise the item itself.
    using Value = typename KrXmlVector::PlainValue<E>::Type;

    KrXmlVectorType() = default;

    /// A vector of `values`, which may be a list in braces. A constructor would make
    /// f({1.0, 2.0}) ambiguous if f has an overload for a KrRealVector.
    static KrXmlVectorType fromValues(std::vector<Value> const& values) {
        KrXmlVectorType vector;
        vector.items_.assign(values.begin(), values.end());
        return vector;
    }

    /// The item at `index`, which must exist.
    E& operator[](KrU32 index) { return items_[index]; }
    E const& operator[](KrU32 index) const { return items_[index]; }
    /// The number of items.
    KrU32 size() const { return static_cast<KrU32>(items_.size()); }

    /// Appends a copy of `item`.
    void pushBack(E const& item) { items_.push_back(item); }
    /// Reserves memory for `count` items.
    void reserve(KrU32 count) { items_.reserve(count); }
    /// Cuts the list to `count` items, or appends default ones.
    void resize(KrU32 count) { items_.resize(count); }
    /// Removes every item.
    void clear() { items_.clear(); }

    /// The first item, read-only.
    auto begin() const { return items_.begin(); }
    /// The end of the items.
    auto end() const { return items_.end(); }

    bool operator==(KrXmlVectorType const&) const = default;

    KrBoolean read(KrXmlReader& reader) override {
        if (!reader.onElement()) {
            KrXmlVector::reportWrongMode();
            return false;
        }
        KrToken const tag = E().token();
        std::optional<KrU32> count;
        std::vector<E> items;  // items_ stays until all are read
        bool const attributesRead = KrXmlVector::readCount(reader, count);
        KrXmlVector::Growth growth(reader, count);
        KrToken const* known = nullptr;  // the reader has one token object for each name
        auto const readItem = [&](KrToken const& token, KrXmlReader& from) {
            if (&token != known && !(token == tag)) {
                return false;
            }
            known = &token;
            if (items.size() == items.capacity()) {
                items.reserve(growth.room(items.size()));
            }
            return items.emplace_back().read(from);
        };
        bool const itemsRead =
            krXmlReadChildren(reader, readItem, [&] { return std::vector{tag}; });
        if (!attributesRead || !itemsRead) {
            return false;
        }
        items_ = std::move(items);
        if (count && *count != items_.size()) {
            KrXmlVector::reportCount(*count, items_.size());
        }
        return true;
    }

    KrBoolean write(KrXmlWriter& writer) const override {
        KrXmlVector::writeCount(writer, size());
        KrToken const tag = E().token();
        bool good = true;
        for (E const& item : items_) {
            good = krXmlWriteElement(writer, tag, item) && good;
        }
        return good;
    }

    void writeSchema(KrXmlSchema& schema) const override { KrXmlVector::writeSchema(schema, E()); }

private:
    std::vector<E> items_;
};

/// The vector of doubles, as elements hold it for their parameters.
using KrXmlRealVector = KrXmlVectorType<KrXmlBasicType<double>>;
