#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlObject.h"

#include <memory>
#include <vector>

/// The components of one object by their tags, in the order of registration.
class KR_EXPORT KrXmlComponentMap {
public:
    /// One registered component, which is a member of the object and not owned.
    struct Entry {
        KrToken token;        ///< the tag, or the name of the attribute
        KrXmlObject* object;  ///< the member itself
        bool readOnly;        ///< whether what a document says is passed over
    };

    /// Appends an entry, or puts it in the place of the one under the same tag.
    void add(KrToken const& token, KrXmlObject* object, bool readOnly);
    /// Forgets the entries; the components themselves are untouched.
    void clear() { entries_.clear(); }

    /// The entry registered under `token`, null when there is none.
    Entry const* find(KrToken const& token) const;

    /// Whether nothing is registered.
    bool empty() const { return entries_.empty(); }
    /// The number of entries.
    std::size_t size() const { return entries_.size(); }
    /// The first entry; iteration is in the order of registration.
    auto begin() const { return entries_.begin(); }
    /// Behind the last entry.
    auto end() const { return entries_.end(); }

private:
    std::vector<Entry> entries_;
};

/// Base of elements that are made of named components. A derived class calls
/// `registerComponent(token, &member)` for each of its value members in
/// `registerComponents`, the only list of them; from it the object is read,
/// written, initialised and described. An element's text is one child element
/// for each component, in the order of registration; on reading, any order, and
/// what is absent keeps its value.
///
/// The maps are built when they are first needed and belong to the object alone:
/// a copy builds its own, since the entries point to members. The first use in a
/// document builds them, and clears the flag `specified`, in a const object too, so
/// that even a const object is for one thread at a time.
class KR_EXPORT KrXmlCompoundType : public KrXmlObject {
public:
    void accept(KrXmlObjectVisitor* visitor) override;
    void xmlInit() override;
    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;

    /// The part of `read` that takes the start tag: each attribute goes to
    /// `readAttributeFromToken`.
    virtual KrBoolean readAttributes(KrXmlReader& reader);
    /// The part of `read` that takes the children, up to the end tag: each goes to
    /// `readValueFromToken`.
    virtual KrBoolean readElements(KrXmlReader& reader);
    /// The part of `write` that writes the attributes, ahead of all content.
    virtual KrBoolean writeAttributes(KrXmlWriter& writer) const;
    /// The part of `write` that writes one child element for each component.
    virtual KrBoolean writeElements(KrXmlWriter& writer) const;
    /// The part of `writeSchema` that describes the attributes, each optional.
    virtual void writeSchemaAttributes(KrXmlSchema& schema) const;
    /// The part of `writeSchema` that describes the children: in any order, each at
    /// most once.
    virtual void writeSchemaElements(KrXmlSchema& schema) const;

    /// Registers every component. Called by the framework alone.
    virtual void registerComponents();

    /// `object` is read and written as a child element `token`.
    virtual void registerComponent(KrToken const& token, KrXmlObject* object);
    /// The same, but what a document says of it is passed over.
    virtual void registerComponentReadOnly(KrToken const& token, KrXmlObject* object);
    /// The components that are child elements. The first call has them registered.
    virtual KrXmlComponentMap& componentMap();

    /// `object`, a value that is one text, is read and written as an attribute.
    virtual void registerAttributeComponent(KrToken const& token, KrXmlObject* object);
    /// The same, but what a document says of it is passed over.
    virtual void registerAttributeComponentReadOnly(KrToken const& token, KrXmlObject* object);
    /// The components that are attributes. The first call has them registered.
    virtual KrXmlComponentMap& attributeComponentMap();

    /// Children beyond the components, which the class reads in
    /// `readValueFromSpecialToken` and writes itself; empty unless
    /// `createSpecialDescriptorMap` is overridden.
    virtual KrXmlComponentMap& specialDescriptorMap();

    /// Whether any component, or special descriptor, is a child element.
    virtual bool hasChildren() const;
    /// Whether any component is an attribute.
    virtual bool hasAttributes() const;

    /// Reads the child element `token`, on which the reader stands: into the
    /// component of that tag, else by `readValueFromSpecialToken`. A component
    /// that was given already since `readElements` began is refused.
    virtual KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader);
    /// Reads a child that is no component. The base reads what the special
    /// descriptor map names; false for anything else, and the child is refused.
    virtual KrBoolean readValueFromSpecialToken(KrToken const& token, KrXmlReader& reader);
    /// Reads the reader's current attribute into the component `token`; an unknown
    /// one is refused.
    virtual KrBoolean readAttributeFromToken(KrToken const& token, KrXmlReader& reader);

    /// Empties the maps of components and of attributes.
    virtual void newComponentMap();
    /// Empties the map of special descriptors.
    virtual void newSpecialDescriptorMap();
    /// Fills the maps of components and of attributes, both by one call of
    /// `registerComponents`.
    virtual void createComponentMap();
    /// The same as `createComponentMap`: one list registers both kinds.
    virtual void createAttributeComponentMap();
    /// Fills the map of special descriptors. The base leaves it empty.
    virtual void createSpecialDescriptorMap();

    /// Whether `token` was registered by `registerComponentReadOnly`.
    virtual bool isReadOnlyComponent(KrToken token) const;
    /// Whether `token` was registered by `registerAttributeComponentReadOnly`.
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
