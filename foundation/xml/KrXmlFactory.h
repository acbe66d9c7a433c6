#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"

#include <map>

class KrXmlObject;

/// Creates an object on the heap, which the caller owns.
using KrXmlCreator = KrXmlObject* (*)();

/// Creators by element tag.
using KrXmlCreatorMap = std::map<KrToken, KrXmlCreator>;

/// Creators that you pass to a reader. Containers and vectors use them for tags for which
/// they have no creator.
class KR_EXPORT KrXmlFactory {
public:
    /// Adds a creator, and replaces an earlier one for the same tag.
    void registerCreator(KrToken const& token, KrXmlCreator creator) { creators_[token] = creator; }

    /// All registered creators.
    KrXmlCreatorMap const& creatorMap() const { return creators_; }

    /// A new object for `token`, which the caller owns; null for an unknown tag.
    KrXmlObject* newObjectFromToken(KrToken const& token) const;

private:
    KrXmlCreatorMap creators_;
};
