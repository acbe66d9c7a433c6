#pragma once

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReplace.h"
#include "foundation/xml/KrXmlTokens.h"

#include <utility>

/// The functions that the pairs of all types share.
namespace KrXmlPair {

/// Reads the children `first` and `second`, each at most once. False, with a message, if
/// anything was refused.
KR_EXPORT KrBoolean read(KrXmlReader& reader, KrXmlObject& first, KrXmlObject& second);
/// Writes both parts as child elements; false, with a message, if one of them fails.
KR_EXPORT KrBoolean write(KrXmlWriter& writer, KrXmlObject const& first, KrXmlObject const& second);
/// Describes the two children, each optional, in any order.
KR_EXPORT void writeSchema(KrXmlSchema& schema, KrXmlObject const& first,
                           KrXmlObject const& second);

}  // namespace KrXmlPair

/// A pair of objects as one object of a document.
///
///     <item><first>0</first><second>1</second></item>
template <class F, class S>
class KR_EXPORT KrXmlPairType
    : public KrElement<KrXmlPairType<F, S>, KrXmlObject, KrXml::KrItemToken> {
public:
    KrXmlPairType() = default;

    /// The child element `first` in a document.
    F const& first() const { return first_; }
    void setFirst(F const& first) { first_ = first; }
    /// The child element `second`.
    S const& second() const { return second_; }
    void setSecond(S const& second) { second_ = second; }

    bool operator==(KrXmlPairType const&) const = default;

    /// Calls the visitor's `visit` for the pair, then `accept` of both parts.
    void accept(KrXmlObjectVisitor* visitor) override {
        KrXmlObject::accept(visitor);
        first_.accept(visitor);
        second_.accept(visitor);
    }

    /// Reads both parts. What the document lacks takes its default. If the result is false,
    /// the pair keeps its value.
    KrBoolean read(KrXmlReader& reader) override {
        return KrXml::replaceByNew(first_, [&](F& first) {
            return KrXml::replaceByNew(
                second_, [&](S& second) { return KrXmlPair::read(reader, first, second); });
        });
    }
    KrBoolean write(KrXmlWriter& writer) const override {
        return KrXmlPair::write(writer, first_, second_);
    }
    void writeSchema(KrXmlSchema& schema) const override {
        KrXmlPair::writeSchema(schema, first_, second_);
    }

private:
    F first_;
    S second_;
};
