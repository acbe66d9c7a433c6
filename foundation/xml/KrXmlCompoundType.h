#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlObject.h"

#include <memory>
#include <vector>

/// The components of one object by their tags, in the order of registration.
class KR_EXPORT KrXmlComponentMap {
public:
    struct Entry {
        KrToken token;
        KrXmlObject* object;
        bool readOnly;
    };

    void add(KrToken const& token, KrXmlObject* object, bool readOnly);
    void clear() { entries_.clear(); }

    /// The entry registered under `token`, null when there is none.
    Entry const* find(KrToken const& token) const;

    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }
    auto begin() const { return entries_.begin(); }
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
/// a copy builds its own, since the entries point to members. Building them is the
/// one change that reading, writing or describing makes to a const object, so that
/// even a const object is for one thread at a time.
class KR_EXPORT KrXmlCompoundType : public KrXmlObject {
public:
    void accept(KrXmlObjectVisitor* visitor) override;
    void xmlInit() override;
    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;

    virtual KrBoolean readAttributes(KrXmlReader& reader);
    virtual KrBoolean readElements(KrXmlReader& reader);
    virtual KrBoolean writeAttributes(KrXmlWriter& writer) const;
    virtual KrBoolean writeElements(KrXmlWriter& writer) const;
    virtual void writeSchemaAttributes(KrXmlSchema& schema) const;
    virtual void writeSchemaElements(KrXmlSchema& schema) const;

    /// Registers every component. Called by the framework alone.
    virtual void registerComponents();

    /// `object` is read and written as a child element `token`.
    virtual void registerComponent(KrToken const& token, KrXmlObject* object);
    /// The same, but what a document says of it is passed over.
    virtual void registerComponentReadOnly(KrToken const& token, KrXmlObject* object);
    virtual KrXmlComponentMap& componentMap();

    /// `object`, a value that is one text, is read and written as an attribute.
    virtual void registerAttributeComponent(KrToken const& token, KrXmlObject* object);
    virtual void registerAttributeComponentReadOnly(KrToken const& token, KrXmlObject* object);
    virtual KrXmlComponentMap& attributeComponentMap();

    /// Children beyond the components, which the class reads in
    /// `readValueFromSpecialToken` and writes itself; empty unless
    /// `createSpecialDescriptorMap` is overridden.
    virtual KrXmlComponentMap& specialDescriptorMap();

    virtual bool hasChildren() const;
    virtual bool hasAttributes() const;

    /// Reads the child element `token`, on which the reader stands: into the
    /// component of that tag, else by `readValueFromSpecialToken`. A component
    /// that was given already is refused.
    virtual KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader);
    /// Reads a child that is no component. The base reads what the special
    /// descriptor map names; false for anything else, and the child is refused.
    virtual KrBoolean readValueFromSpecialToken(KrToken const& token, KrXmlReader& reader);
    virtual KrBoolean readAttributeFromToken(KrToken const& token, KrXmlReader& reader);

    /// Empties the maps of components and of attributes.
    virtual void newComponentMap();
    virtual void newSpecialDescriptorMap();
    /// Fill the maps; one call of `registerComponents` fills the first two.
    virtual void createComponentMap();
    virtual void createAttributeComponentMap();
    virtual void createSpecialDescriptorMap();

    virtual bool isReadOnlyComponent(KrToken token) const;
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
