#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"

#include <string>

class KrXmlObjectVisitor;
class KrXmlReader;
class KrXmlSchema;
class KrXmlWriter;

/// The interface of everything that a document can hold: values, elements,
/// containers and vectors. The order of its virtual operations, and of those in
/// the classes below it, is part of the interface.
///
/// An object's XML text is its tag around its content. `read` and `write`
/// handle the content alone; who calls them has read, or writes, the tag.
class KR_EXPORT KrXmlObject {
public:
    KrXmlObject() = default;
    KrXmlObject(KrXmlObject const&) = default;
    KrXmlObject(KrXmlObject&&) noexcept = default;
    /// Takes the flag `specified`. The target keeps the other: it tells of what the
    /// target has got, and the rest of an assignment may fail.
    KrXmlObject& operator=(KrXmlObject const& other) noexcept {
        specified_ = other.specified_;
        return *this;
    }
    KrXmlObject& operator=(KrXmlObject&&) noexcept = default;
    virtual ~KrXmlObject();

    /// Calls the visitor's `visit` for the kind of this object.
    virtual void accept(KrXmlObjectVisitor* visitor);

    /// A copy on the heap, owned by the caller.
    virtual KrXmlObject* clone() const = 0;

    /// Makes the object ready for reading and writing. The framework calls it
    /// before it first reads, writes or describes the object; values are not
    /// touched. Marks the object initialised, so that this happens once, and not
    /// specified, since no document has given it yet.
    virtual void xmlInit();

    /// Reads the content of the element on which the reader stands, to its end
    /// tag. False when anything in it was refused by this object.
    virtual KrBoolean read(KrXmlReader& reader);

    /// Reads the value of the reader's current attribute.
    virtual KrBoolean readAttribute(KrXmlReader& reader);

    /// Writes the content into the element that the writer has started.
    virtual KrBoolean write(KrXmlWriter& writer) const;

    /// Describes the content to a schema. The base has none.
    virtual void writeSchema(KrXmlSchema& schema) const;

    /// Writes an XML Schema for documents with root element `root` and this
    /// object's content to the file `path`; false, with a message, on failure.
    virtual KrBoolean createSchema(std::string const& path, KrToken const& root) const;

    /// Whether `xmlInit` has run. A flag of the framework's: it takes no part in
    /// equality.
    virtual bool xmlInitialized() const;
    virtual void setXmlInitialized(bool initialized);

    /// Whether a document gave this object: set as it is read, and cleared as the object
    /// that registered it begins to read. The items of a vector are not marked.
    virtual bool specified() const;
    virtual void setSpecified(bool specified);

    /// Whether the content is one text, so that it can stand in an attribute.
    virtual bool isBasicType() const;

    /// Whether the object equals a new one of its class.
    virtual bool equalsDefault() const;

    /// Whether `other` is an object of this class (or derived from it) and
    /// equal, compared as this class; false for null.
    virtual KrBoolean equality(KrXmlObject const* other) const = 0;

    /// A default-constructed object of this class, owned by the caller.
    virtual KrXmlObject* newObject() const = 0;

    /// The element tag of the class.
    virtual KrToken const& token() const = 0;

    /// The flags and whatever else the framework keeps take no part.
    bool operator==(KrXmlObject const&) const { return true; }

private:
    bool xmlInitialized_ = false;
    bool specified_ = false;
};
