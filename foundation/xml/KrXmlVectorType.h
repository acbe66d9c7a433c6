#pragma once

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlTokens.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

/// What the vectors of all item types share.
namespace KrXmlVector {

/// Reads the attributes of a vector's start tag: the item count where there is
/// one. False when anything else was there.
KR_EXPORT KrBoolean readCount(KrXmlReader& reader, std::optional<KrU32>& count);

KR_EXPORT void writeCount(KrXmlWriter& writer, KrU32 count);

/// Describes a vector whose items are like `item`.
KR_EXPORT void writeSchema(KrXmlSchema& schema, KrXmlObject const& item);

KR_EXPORT void reportWrongMode();
KR_EXPORT void reportCount(KrU32 stated, std::size_t actual);

/// How the room for the items of a list grows while it is read.
class KR_EXPORT Growth {
public:
    Growth(KrXmlReader const& reader, std::optional<KrU32> stated);

    /// How much room to have when `size` items are there and the next one comes. A
    /// stated count is believed once an eighth of it is there: a wrong one then costs
    /// memory in proportion to the document, a right one no more than it says. Without
    /// one, what is left of the document tells how many items it has room for.
    std::size_t room(std::size_t size);

private:
    KrXmlReader const& reader_;
    std::size_t begin_;     // bytes read before the list
    std::size_t expected_;  // items, 0 when unknown
};

/// What a program lists the items of a vector as: the items, or where these are values
/// of documents, the plain values.
template <class E>
struct PlainValue {
    using Type = E;  ///< the item itself
};
template <class T>
struct PlainValue<KrXmlBasicType<T>> {
    using Type = T;  ///< what the item holds
};

}  // namespace KrXmlVector

/// A list of values, or of elements of one class, as an object of a document.
/// Items that are elements stand under their own tag, others under `item`. The
/// count attribute is a hint for room on reading; when all items are good and it
/// differs from their number, that is reported, and the items count.
///
///     <simplexEdgeLengths count="2"><item>0.5</item><item>0.25</item></simplexEdgeLengths>
///
/// In a program it is made of plain values, and gives them back:
///
///     optimizer.setSimplexEdgeLengths(KrXmlRealVector::fromValues({0.5, 0.25}));
///     KrXmlRealVector const& lengths = optimizer.simplexEdgeLengths();
///     KrRealVector const values(lengths.begin(), lengths.end());
template <class E>
class KR_EXPORT KrXmlVectorType
    : public KrElement<KrXmlVectorType<E>, KrXmlObject, KrXml::KrItemToken> {
public:
    /// The item as a program lists it: the plain value where the item is a value.
    using Value = typename KrXmlVector::PlainValue<E>::Type;

    KrXmlVectorType() = default;

    /// A vector of `values`, which may be a list in braces. By name, since a constructor
    /// would make f({1.0, 2.0}) ambiguous where f takes a KrRealVector as well.
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
    /// Makes room for `count` items, and adds none.
    void reserve(KrU32 count) { items_.reserve(count); }
    /// Cuts the list to `count` items, or fills it up with default ones.
    void resize(KrU32 count) { items_.resize(count); }
    /// Removes every item.
    void clear() { items_.clear(); }

    /// The first item, to read only.
    auto begin() const { return items_.begin(); }
    /// Behind the last item.
    auto end() const { return items_.end(); }

    bool operator==(KrXmlVectorType const&) const = default;

    KrBoolean read(KrXmlReader& reader) override {
        if (!reader.onElement()) {
            KrXmlVector::reportWrongMode();
            return false;
        }
        KrToken const tag = E().token();
        std::optional<KrU32> count;
        std::vector<E> items;  // ours stay as they were until all are read
        bool const attributesRead = KrXmlVector::readCount(reader, count);
        KrXmlVector::Growth growth(reader, count);
        KrToken const* known = nullptr;  // the reader has one token for a name
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

/// The vector of doubles that elements hold as parameters.
using KrXmlRealVector = KrXmlVectorType<KrXmlBasicType<double>>;
