#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"

/// The contract of a concrete class, once: stands between `Derived` and its
/// base `Base` and supplies what follows from the class and its element tag
/// `Tag` alone. `Derived` adds its members, a default constructor, and
/// `operator==`, usually defaulted. Only overrides and statics: no virtual slot
/// is added.
///
///     class KrLine : public KrElement<KrLine, KrBaseScalarFunction, KrFunction::KrLineToken> {
template <class Derived, class Base, KrToken const& Tag>
class KR_EXPORT KrElement : public Base {
public:
    using Base::Base;

    /// A copy of the run-time class `Derived`, owned by the caller.
    KrXmlObject* clone() const override { return new Derived(static_cast<Derived const&>(*this)); }

    /// The same as `creator`, by an object.
    KrXmlObject* newObject() const override { return creator(); }

    /// Whether `other` is a `Derived`, or derived from it, that `operator==` of
    /// `Derived` finds equal; false for null.
    KrBoolean equality(KrXmlObject const* other) const override {
        auto const* const same = dynamic_cast<Derived const*>(other);
        return same && static_cast<Derived const&>(*this) == *same;
    }

    /// The `Tag`.
    KrToken const& token() const override { return Tag; }

    /// A default-constructed object on the heap, owned by the caller: the
    /// function that containers and vectors register for the tag. It has one address in
    /// all libraries and programs.
    static KrXmlObject* creator();

    /// A default-constructed object by value.
    static Derived nullObject() { return Derived(); }

    bool operator==(KrElement const&) const = default;
};

// Outside of the class it is not inline: inline operations are hidden in the libraries.
template <class Derived, class Base, KrToken const& Tag>
KrXmlObject* KrElement<Derived, Base, Tag>::creator() {
    return new Derived;
}

/// A `KrElement` whose class also tells its tag without an object.
template <class Derived, class Base, KrToken const& Tag>
class KR_EXPORT KrTaggedElement : public KrElement<Derived, Base, Tag> {
public:
    using KrElement<Derived, Base, Tag>::KrElement;

    /// The `Tag`; the same as `token` of any object of the class.
    static KrToken const& classToken() { return Tag; }

    bool operator==(KrTaggedElement const&) const = default;
};
