#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

#include <map>

class KrXmlObject;

/// Creates a new object on the heap, owned by the caller.
using KrXmlCreator = KrXmlObject* (*)();

/// Creators by element tag.
using KrXmlCreatorMap = std::map<KrToken, KrXmlCreator>;

/// A client's own creators, handed to a reader: containers and vectors ask it
/// for elements of tags that they have no creator for.
class KR_EXPORT KrXmlFactory {
public:
    /// Adds a creator, in place of an earlier one for the same tag.
    void registerCreator(KrToken const& token, KrXmlCreator creator) { creators_[token] = creator; }

    /// All that was registered.
    KrXmlCreatorMap const& creatorMap() const { return creators_; }

    /// A new object for `token`, owned by the caller; null for an unknown tag.
    KrXmlObject* newObjectFromToken(KrToken const& token) const;

private:
    KrXmlCreatorMap creators_;
};
