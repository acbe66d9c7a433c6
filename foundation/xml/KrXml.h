#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlReplace.h"
#include "foundation/xml/KrXmlTokens.h"

#include <concepts>
#include <memory>
#include <string>

class KrXmlFactory;
class KrXmlObserver;
class KrXmlReader;

/// The framework's own names in documents, and the operations on whole documents. If a
/// result is false, null or an empty text, a message has been printed through `Kr::Print`.
namespace KrXml {

/// Reads a document into `object`, whose class the compiler need not know. The root
/// element must be `object.token()`. What the document lacks keeps its value. If the
/// result is false, part of `object` may have changed. `factory` as in `readFile`. If
/// `observer` is not null, it sees the document.
KR_EXPORT KrBoolean readFileInto(std::string const& path, KrXmlObject& object,
                                 KrXmlFactory const* factory, KrXmlObserver* observer = nullptr);
/// Does the same from a text.
KR_EXPORT KrBoolean readTextInto(std::string const& text, KrXmlObject& object,
                                 KrXmlFactory const* factory, KrXmlObserver* observer = nullptr);

/// Reads a whole document into `object` and replaces it: what the document lacks takes its
/// default. The root element must be `object.token()`. If the result is false, `object`
/// keeps its value. `factory` creates elements for which containers and vectors have no
/// creator; it may be null.
template <std::derived_from<KrXmlObject> T>
KrBoolean readFile(std::string const& path, T& object, KrXmlFactory const* factory = nullptr) {
    return replaceByNew(object,
                        [&](KrXmlObject& fresh) { return readFileInto(path, fresh, factory); });
}

/// Reads a document from a text in the same way. Messages call it "<string>".
template <std::derived_from<KrXmlObject> T>
KrBoolean fromString(std::string const& text, T& object, KrXmlFactory const* factory = nullptr) {
    return replaceByNew(object,
                        [&](KrXmlObject& fresh) { return readTextInto(text, fresh, factory); });
}

/// Reads a whole document of any element. The root's tag selects one of the creators of
/// `factory`, which also creates elements inside containers and vectors. Null, with a
/// message, if the root is unknown or anything was refused. A branch of a composite function
/// has children only inside a container. If `observer` is not null, it sees the document.
///
///     auto const object = KrXml::readFile("any.xml", KrCreators::factory());
KR_EXPORT std::unique_ptr<KrXmlObject> readFile(std::string const& path,
                                                KrXmlFactory const& factory,
                                                KrXmlObserver* observer = nullptr);

/// Reads a document of any element from a text.
KR_EXPORT std::unique_ptr<KrXmlObject> fromString(std::string const& text,
                                                  KrXmlFactory const& factory);

/// Reads a document of any element through `reader`, which must not have moved yet. Use it
/// to know the reader's position while messages are printed.
KR_EXPORT std::unique_ptr<KrXmlObject> read(KrXmlReader& reader, KrXmlFactory const& factory);

/// Writes the document of `object` to the file `path` atomically: a new file in the same
/// folder is renamed to `path`. At every moment either the old or the new file is complete.
/// If the result is false, the old file stays. Several threads and processes may write into
/// one folder. An existing file keeps its permissions, and its owner and group if the process
/// may set them. If it may not set the group, the group's permissions are cut to those of
/// others. Access control lists, extended attributes and further hard links are lost. A file
/// that the process may not write to is refused. Symbolic links are followed. If `path` is
/// not a regular file but, say, a pipe, the document is written to it directly.
KR_EXPORT KrBoolean writeFile(std::string const& path, KrXmlObject const& object);

/// The document of `object`; empty on failure.
KR_EXPORT std::string toString(KrXmlObject const& object);

/// An XML Schema for documents whose root is `object.token()`; empty on failure.
KR_EXPORT std::string schemaToString(KrXmlObject const& object);

/// One XML Schema for documents whose root is any element of `factory` in the library's
/// namespace; empty on failure.
KR_EXPORT std::string schemaToString(KrXmlFactory const& factory);

}  // namespace KrXml
