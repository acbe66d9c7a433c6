#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlVectorType.h"

#include <string>
#include <utility>

/// Base of containers and element vectors, whose children are elements of
/// several classes, each created from its tag by the creator registered for it.
/// The one child of its own is a list of library names, written when it is not
/// empty:
///
///     <addLibraries count="1"><item>libmine.so</item></addLibraries>
class KR_EXPORT KrXmlBaseVariableCompoundType : public KrXmlObject {
public:
    /// Names of libraries, as a document lists them.
    using LibraryList = KrXmlVectorType<KrXmlBasicType<std::string>>;

    void accept(KrXmlObjectVisitor* visitor) override;

    /// Gives each child element to `readValueFromToken`.
    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;

    /// Calls `registerComponentCreator` for every class that the object can
    /// create. Called by the framework before the creators are first needed.
    virtual void registerComponentCreators() = 0;

    /// Adds a creator, in place of an earlier one for the same tag.
    virtual void registerComponentCreator(KrToken const& token, KrXmlCreator creator);

    /// A new object for `token`, owned by the caller; null for an unknown tag.
    virtual KrXmlObject* newObjectFromToken(KrToken const& token) const;

    /// The library names: read, kept and written, and nothing else.
    virtual LibraryList const& addLibraries() const;
    virtual void setAddLibraries(LibraryList const& libraries);

    /// All that the object can create: the creators of its class, with those that a
    /// client has added.
    virtual KrXmlCreatorMap const& creatorMap() const;

    /// Adds the creators of `source` for tags that have none here.
    void takeOverCreators(KrXmlBaseVariableCompoundType const& source) {
        creators_ = source.creators_;
    }

    /// Reads the child element `token`, on which the reader stands. The base
    /// reads the library list and answers false for any other.
    virtual KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader);

    /// Acts on the library list that was just read: reports each name, print
    /// type 4, and loads nothing, since a data file must not make a program run
    /// code.
    virtual void processLibraries();

    /// Compares the library lists: what can be created is no part of the value.
    bool operator==(KrXmlBaseVariableCompoundType const&) const = default;

private:
    // A copy can create what its source can. An assignment takes away nothing: what
    // a client registered with an object stays when the object gets another value.
    struct Creators {
        Creators() = default;
        Creators(Creators const&) = default;
        Creators& operator=(Creators const& source) {
            if (this != &source) {
                map.insert(source.map.begin(), source.map.end());
                registered = registered || source.registered;
            }
            return *this;
        }
        // Takes over what the map lacks, and allocates nothing: a document that was
        // read replaces an object also when there is no more memory.
        Creators& operator=(Creators&& source) noexcept {
            map.merge(source.map);
            registered = registered || std::exchange(source.registered, false);
            return *this;
        }

        KrXmlCreatorMap map;
        bool registered = false;  // those of the class
    };

    void prepare() const;

    LibraryList addLibraries_;
    KrUncompared<Creators> creators_;
};
