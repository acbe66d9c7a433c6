#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"

#include <string>

class KrXmlObjectVisitor;
class KrXmlReader;
class KrXmlSchema;
class KrXmlWriter;

/// The base of everything that a document can hold: values, elements, containers and
/// vectors. The order of its virtual operations, and of those of derived classes, is part of
/// the interface.
///
/// An object's XML text is its tag around its content. `read` and `write` handle only the
/// content; their callers handle the tag.
class KR_EXPORT KrXmlObject {
public:
    KrXmlObject() = default;
    KrXmlObject(KrXmlObject const&) = default;
    KrXmlObject(KrXmlObject&&) noexcept = default;
    /// Copies the flag `specified`. The target keeps its flag `xmlInitialized`, which is true
    /// of its own members even if the rest of the assignment fails.
    KrXmlObject& operator=(KrXmlObject const& other) noexcept {
        specified_ = other.specified_;
        return *this;
    }
    KrXmlObject& operator=(KrXmlObject&&) noexcept = default;
    virtual ~KrXmlObject();

    /// Calls the visitor's `visit` for the kind of this object.
    virtual void accept(KrXmlObjectVisitor* visitor);

    /// A copy on the heap, which the caller owns.
    virtual KrXmlObject* clone() const = 0;

    /// Prepares the object for reading and writing; no value changes. The framework calls it
    /// once, before it first reads, writes or describes the object. Marks the object as
    /// initialised, and as not specified, since no document has specified it yet.
    virtual void xmlInit();

    /// Reads the content of the element on which the reader stands, up to its end tag. False
    /// if this object refused anything in it.
    virtual KrBoolean read(KrXmlReader& reader);

    /// Reads the value of the reader's current attribute.
    virtual KrBoolean readAttribute(KrXmlReader& reader);

    /// Writes the content into the element that the writer has started.
    virtual KrBoolean write(KrXmlWriter& writer) const;

    /// Describes the content to a schema. The base class has no content.
    virtual void writeSchema(KrXmlSchema& schema) const;

    /// Writes an XML Schema to the file `path`, for documents with the root element `root` and
    /// the content of this object. False, with a message, on failure.
    virtual KrBoolean createSchema(std::string const& path, KrToken const& root) const;

    /// Whether `xmlInit` has run. The framework sets this flag; comparisons ignore it.
    virtual bool xmlInitialized() const;
    virtual void setXmlInitialized(bool initialized);

    /// Whether a document specified this object. Reading the object sets the flag; the object
    /// that registered it clears the flag when it begins to read. The items of a vector keep
    /// theirs clear.
    virtual bool specified() const;
    virtual void setSpecified(bool specified);

    /// Whether the content is a single text, so that an attribute can hold it.
    virtual bool isBasicType() const;

    /// Whether the object equals a new one of its class.
    virtual bool equalsDefault() const;

    /// Whether `other` is an object of this class, or derived from it, and equal as an object
    /// of this class. False for null.
    virtual KrBoolean equality(KrXmlObject const* other) const = 0;

    /// A default-constructed object of this class, which the caller owns.
    virtual KrXmlObject* newObject() const = 0;

    /// The element tag of the class.
    virtual KrToken const& token() const = 0;

    /// Always true: comparisons ignore the flags.
    bool operator==(KrXmlObject const&) const { return true; }

private:
    bool xmlInitialized_ = false;
    bool specified_ = false;
};
