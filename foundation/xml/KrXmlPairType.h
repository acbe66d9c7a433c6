#pragma once

#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReplace.h"
#include "foundation/xml/KrXmlTokens.h"

#include <utility>

/// What the pairs of all types share.
namespace KrXmlPair {

/// Reads the two parts under `first` and `second`, each at most once.
KR_EXPORT KrBoolean read(KrXmlReader& reader, KrXmlObject& first, KrXmlObject& second);
KR_EXPORT KrBoolean write(KrXmlWriter& writer, KrXmlObject const& first, KrXmlObject const& second);
KR_EXPORT void writeSchema(KrXmlSchema& schema, KrXmlObject const& first,
                           KrXmlObject const& second);

}  // namespace KrXmlPair

/// Two objects as one object of a document.
///
///     <item><first>0</first><second>1</second></item>
template <class F, class S>
class KR_EXPORT KrXmlPairType
    : public KrElement<KrXmlPairType<F, S>, KrXmlObject, KrXml::KrItemToken> {
public:
    KrXmlPairType() = default;

    /// The part that stands under `first` in a document.
    F const& first() const { return first_; }
    void setFirst(F const& first) { first_ = first; }
    /// The part that stands under `second`.
    S const& second() const { return second_; }
    void setSecond(S const& second) { second_ = second; }

    bool operator==(KrXmlPairType const&) const = default;

    /// Calls the visitor's `visit` for the pair, and then both parts' `accept`.
    void accept(KrXmlObjectVisitor* visitor) override {
        KrXmlObject::accept(visitor);
        first_.accept(visitor);
        second_.accept(visitor);
    }

    /// What a document lacks takes its default; a refused one changes nothing.
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
