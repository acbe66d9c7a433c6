#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"

#include <type_traits>
#include <utility>

namespace KrXml {

/// Lets `fresh`, a new object of the class of `object`, create what clients have
/// registered with `object`, at any depth.
KR_EXPORT void takeOverCreators(KrXmlObject& fresh, KrXmlObject& object);

/// An object that may be large: it has components, creates elements, or is a list.
template <class T>
concept Composite = requires(T& object) {
    object.componentMap();
}
|| requires(T& object) { object.creatorMap(); }
|| requires(T& object) { object.pushBack(object[0]); };

/// Calls `read(fresh)` with an object that has default values. If the result is true,
/// moves `fresh` to `object`; otherwise `object` keeps its value. The creators that
/// clients have registered with `object` stay, and an element keeps its container.
template <class T, class Read>
KrBoolean replaceByNew(T& object, Read read) {
    static_assert(!std::is_abstract_v<T>, "a document is read into an object of a concrete class");
    auto const replaceBy = [&](T& fresh) {
        bool const good = read(fresh);
        if (good) {
            object = std::move(fresh);
        }
        return good;
    };
    if constexpr (Composite<T>) {
        T fresh;
        takeOverCreators(fresh, object);
        if constexpr (requires { fresh.setContainer(object.container()); }) {
            fresh.setContainer(object.container());
        }
        return replaceBy(fresh);
    } else {
        T fresh(object);  // keeps what is no part of the value, such as the texts of an enumeration
        fresh = T();
        fresh.setSpecified(false);
        return replaceBy(fresh);
    }
}

}  // namespace KrXml
