#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlVectorType.h"

#include <string>
#include <utility>

/// Base of containers and element vectors. Their children are elements of several classes;
/// the creator that is registered for a tag creates the element. One child is not an element:
/// a list of library names, which is written if it is not empty:
///
///     <addLibraries count="1"><item>libmine.so</item></addLibraries>
class KR_EXPORT KrXmlBaseVariableCompoundType : public KrXmlObject {
public:
    /// The names of libraries in a document.
    using LibraryList = KrXmlVectorType<KrXmlBasicType<std::string>>;

    void accept(KrXmlObjectVisitor* visitor) override;

    /// Calls `readValueFromToken` for each child element.
    KrBoolean read(KrXmlReader& reader) override;
    KrBoolean write(KrXmlWriter& writer) const override;
    void writeSchema(KrXmlSchema& schema) const override;

    /// Calls `registerComponentCreator` for every class that the object can create. The
    /// framework calls it once, before it first uses the creators.
    virtual void registerComponentCreators() = 0;

    /// Adds a creator, and replaces an earlier one for the same tag.
    virtual void registerComponentCreator(KrToken const& token, KrXmlCreator creator);

    /// A new object for `token`, which the caller owns; null for an unknown tag.
    virtual KrXmlObject* newObjectFromToken(KrToken const& token) const;

    /// The library names. They are read and written, but no library is loaded.
    virtual LibraryList const& addLibraries() const;
    virtual void setAddLibraries(LibraryList const& libraries);

    /// All creators: those of the class, and those that a client has added.
    virtual KrXmlCreatorMap const& creatorMap() const;

    /// Adds the creators of `source` for tags that have none here.
    void takeOverCreators(KrXmlBaseVariableCompoundType const& source) {
        creators_ = source.creators_;
    }

    /// Reads the child element `token`, on which the reader stands. The base class reads the
    /// library list and returns false for any other child.
    virtual KrBoolean readValueFromToken(KrToken const& token, KrXmlReader& reader);

    /// Called when a library list has been read. Prints each name as an error and loads
    /// nothing, since a data file must not make a program run code.
    virtual void processLibraries();

    /// Compares the library lists. The creators are no part of the value.
    bool operator==(KrXmlBaseVariableCompoundType const&) const = default;

private:
    // A copy has the creators of its source. An assignment only adds creators: what a client
    // registered with an object stays when the object gets another value.
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
        // Adds what the map lacks without allocation, so that replacing an object by one that
        // was read cannot fail.
        Creators& operator=(Creators&& source) noexcept {
            map.merge(source.map);
            registered = registered || std::exchange(source.registered, false);
            return *this;
        }

        KrXmlCreatorMap map;
        bool registered = false;  // whether the map has those of the class
    };

    void prepare() const;

    LibraryList addLibraries_;
    KrUncompared<Creators> creators_;
};
