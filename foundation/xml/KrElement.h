#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"

/// Implements the operations that follow from the class `Derived` and its element tag `Tag`.
/// It is the base of `Derived` and derives from `Base`. `Derived` adds its members, a default
/// constructor, and `operator==`, which is usually defaulted. `KrElement` adds no virtual
/// slot.
///
///     class KrLine : public KrElement<KrLine, KrBaseScalarFunction, KrFunction::KrLineToken> {
template <class Derived, class Base, KrToken const& Tag>
class KR_EXPORT KrElement : public Base {
public:
    using Base::Base;

    /// A copy of class `Derived`, which the caller owns.
    KrXmlObject* clone() const override { return new Derived(static_cast<Derived const&>(*this)); }

    /// Returns what `creator` returns.
    KrXmlObject* newObject() const override { return creator(); }

    /// Whether `other` is a `Derived`, or derived from it, and equal by `operator==` of
    /// `Derived`. False for null.
    KrBoolean equality(KrXmlObject const* other) const override {
        auto const* const same = dynamic_cast<Derived const*>(other);
        return same && static_cast<Derived const&>(*this) == *same;
    }

    /// Returns `Tag`.
    KrToken const& token() const override { return Tag; }

    /// A default-constructed object on the heap, which the caller owns. Containers and vectors
    /// register this function for the tag. It has one address in all libraries and programs.
    static KrXmlObject* creator();

    /// A default-constructed object by value.
    static Derived nullObject() { return Derived(); }

    bool operator==(KrElement const&) const = default;
};

// Defined outside of the class, so that it is not inline: the libraries hide inline
// operations.
template <class Derived, class Base, KrToken const& Tag>
KrXmlObject* KrElement<Derived, Base, Tag>::creator() {
    return new Derived;
}

/// A `KrElement` whose tag is also available without an object.
template <class Derived, class Base, KrToken const& Tag>
class KR_EXPORT KrTaggedElement : public KrElement<Derived, Base, Tag> {
public:
    using KrElement<Derived, Base, Tag>::KrElement;

    /// Returns `Tag`, like `token` of any object of the class.
    static KrToken const& classToken() { return Tag; }

    bool operator==(KrTaggedElement const&) const = default;
};
