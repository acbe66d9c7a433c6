#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlObject.h"

#include <memory>
#include <vector>

/// The components of an object by their tags, in the order of registration.
class KR_EXPORT KrXmlComponentMap {
public:
    /// A registered component, a member of the object that the map does not own.
    struct Entry {
        KrToken token;        ///< the tag, or the name of the attribute
        KrXmlObject* object;  ///< the member
        bool readOnly;        ///< whether reading skips it
    };

    /// Appends an entry, or replaces the one with the same tag.
    void add(KrToken const& token, KrXmlObject* object, bool readOnly);
    /// Removes all entries; the components stay.
    void clear() { entries_.clear(); }

    /// The entry of `token`, null if there is none.
    Entry const* find(KrToken const& token) const;

    /// Whether there are no entries.
    bool empty() const { return entries_.empty(); }
    /// The number of entries.
    std::size_t size() const { return entries_.size(); }
    /// The first entry, in the order of registration.
    auto begin() const { return entries_.begin(); }
    /// The end of the entries.
    auto end() const { return entries_.end(); }

private:
    std::vector<Entry> entries_;
};

/// Base of elements that are made of named components. A derived class overrides
/// `registerComponents` and calls `registerComponent(token, &member)` there for each of its
/// value members. This list is all that reading, writing, initialising and describing need.
/// An element is written as one child element for each component, in the order of
/// registration. It is read in any order, and an absent component keeps its value.
///
/// The maps are built on first use. A copy builds its own, since the entries point to
/// members. The first use in a document also clears the flag `specified`. Both happen in a
/// const object too, so that even a const object is not thread-safe.
class KR_EXPORT KrXmlCompoundType : public KrXmlObject {
public:
    void accept(KrXmlObjectVisitor* visitor) override;
    void xmlInit() override;
    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;

    /// The part of `read` for the start tag: calls `readAttributeFromToken` for each
    /// attribute.
    virtual KrBoolean readAttributes(KrXmlReader& reader);
    /// The part of `read` for the children, up to the end tag: calls `readValueFromToken` for
    /// each child.
    virtual KrBoolean readElements(KrXmlReader& reader);
    /// The part of `write` for the attributes.
    virtual KrBoolean writeAttributes(KrXmlWriter& writer) const;
    /// The part of `write` for the children, one for each component.
    virtual KrBoolean writeElements(KrXmlWriter& writer) const;
    /// The part of `writeSchema` for the attributes, each optional.
    virtual void writeSchemaAttributes(KrXmlSchema& schema) const;
    /// The part of `writeSchema` for the children, in any order and each at most once.
    virtual void writeSchemaElements(KrXmlSchema& schema) const;

    /// Registers every component. Only the framework calls it.
    virtual void registerComponents();

    /// Registers `object` as the child element `token`.
    virtual void registerComponent(KrToken const& token, KrXmlObject* object);
    /// Registers a child element that reading skips.
    virtual void registerComponentReadOnly(KrToken const& token, KrXmlObject* object);
    /// The components that are child elements. The first call registers them.
    virtual KrXmlComponentMap& componentMap();

    /// Registers `object`, whose content must be a single text, as the attribute `token`.
    virtual void registerAttributeComponent(KrToken const& token, KrXmlObject* object);
    /// Registers an attribute that reading skips.
    virtual void registerAttributeComponentReadOnly(KrToken const& token, KrXmlObject* object);
    /// The components that are attributes. The first call registers them.
    virtual KrXmlComponentMap& attributeComponentMap();

    /// Children besides the components, which the class reads in `readValueFromSpecialToken`
    /// and writes itself. Empty unless `createSpecialDescriptorMap` is overridden.
    virtual KrXmlComponentMap& specialDescriptorMap();

    /// Whether the class has child elements: components or special descriptors.
    virtual bool hasChildren() const;
    /// Whether the class has attributes.
    virtual bool hasAttributes() const;

    /// Reads the child element `token`, on which the reader stands, into the component of that
    /// tag, or else by `readValueFromSpecialToken`. A second child for one component is
    /// refused.
    virtual KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader);
    /// Reads a child that is not a component. The base class reads the special descriptors and
    /// returns false for any other child, which is then refused.
    virtual KrBoolean readValueFromSpecialToken(KrToken const& token, KrXmlReader& reader);
    /// Reads the reader's current attribute into the component `token`. An unknown attribute
    /// is refused.
    virtual KrBoolean readAttributeFromToken(KrToken const& token, KrXmlReader& reader);

    /// Empties the maps of components and of attributes.
    virtual void newComponentMap();
    /// Empties the map of special descriptors.
    virtual void newSpecialDescriptorMap();
    /// Fills the maps of components and of attributes by one call of `registerComponents`.
    virtual void createComponentMap();
    /// Does the same as `createComponentMap`, since one list registers both kinds.
    virtual void createAttributeComponentMap();
    /// Fills the map of special descriptors. The base class leaves it empty.
    virtual void createSpecialDescriptorMap();

    /// Whether `registerComponentReadOnly` registered `token`.
    virtual bool isReadOnlyComponent(KrToken token) const;
    /// Whether `registerAttributeComponentReadOnly` registered `token`.
    virtual bool isReadOnlyAttribute(KrToken token) const;

    bool operator==(KrXmlCompoundType const&) const = default;

private:
    struct Maps {
        KrXmlComponentMap components;
        KrXmlComponentMap attributes;
        KrXmlComponentMap specials;
        bool registered = false;
        bool specialsRegistered = false;
    };
    Maps& maps();
    KrXmlCompoundType& prepared() const;

    KrScratch<std::unique_ptr<Maps>> maps_;
};
