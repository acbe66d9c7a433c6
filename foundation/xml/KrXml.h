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
class KrXmlReader;

/// The framework's own tokens, and whole documents. The functions never leave a
/// failure unsaid: whenever a result is false (or an empty text), a message has
/// been printed through `Kr::Print`.
namespace KrXml {

/// Reads a document into `object`, whose class the compiler need not know. The root
/// element must be `object.token()`. What the document lacks keeps its value. If the
/// result is false, part of `object` may have changed. `factory` as in `readFile`.
KR_EXPORT KrBoolean readFileInto(std::string const& path, KrXmlObject& object,
                                 KrXmlFactory const* factory);
/// Does the same from a text.
KR_EXPORT KrBoolean readTextInto(std::string const& text, KrXmlObject& object,
                                 KrXmlFactory const* factory);

/// Reads a whole document whose root is `object.token()`. What the document
/// lacks takes its default: the object is replaced. When the result is false,
/// `object` is as it was. `factory` creates elements that containers and vectors
/// have no creator for; null: none.
template <std::derived_from<KrXmlObject> T>
KrBoolean readFile(std::string const& path, T& object, KrXmlFactory const* factory = nullptr) {
    return replaceByNew(object,
                        [&](KrXmlObject& fresh) { return readFileInto(path, fresh, factory); });
}

/// The same from a text; in messages the document is called "<string>".
template <std::derived_from<KrXmlObject> T>
KrBoolean fromString(std::string const& text, T& object, KrXmlFactory const* factory = nullptr) {
    return replaceByNew(object,
                        [&](KrXmlObject& fresh) { return readTextInto(text, fresh, factory); });
}

/// Reads a whole document of whatever element: the root's tag chooses one of the
/// creators of `factory`, which creates elements inside containers and vectors as
/// well. Null, with a message, when the root is unknown or anything was refused.
/// A branch of a composite function has its children inside its container alone.
///
///     auto const object = KrXml::readFile("any.xml", KrCreators::factory());
KR_EXPORT std::unique_ptr<KrXmlObject> readFile(std::string const& path,
                                                KrXmlFactory const& factory);

/// The same from a text.
KR_EXPORT std::unique_ptr<KrXmlObject> fromString(std::string const& text,
                                                  KrXmlFactory const& factory);

/// The same from a reader that has not moved yet, to its document's end, for who
/// wants to know where the reader stands when something is printed.
KR_EXPORT std::unique_ptr<KrXmlObject> read(KrXmlReader& reader, KrXmlFactory const& factory);

/// Writes the document of `object` beside `path` and then renames it over
/// `path`, so that at every moment the old or the new file is whole; when the
/// result is false, the old file is untouched. Threads and processes may write into
/// one folder. An existing file keeps its permissions, and its owner and group where
/// the process may give them; where it may not give the group, the group's permissions
/// are cut to those of others. Access control lists, extended attributes and further
/// hard links are not kept. A file that the process may not write to is refused. A
/// symbolic link is followed. What is no regular file, such as a pipe or `/dev/stdout`
/// on one, is written to as it stands.
KR_EXPORT KrBoolean writeFile(std::string const& path, KrXmlObject const& object);

/// The document of `object`; empty on failure.
KR_EXPORT std::string toString(KrXmlObject const& object);

/// An XML Schema for documents whose root is `object.token()`; empty on failure.
KR_EXPORT std::string schemaToString(KrXmlObject const& object);

/// One schema for documents whose root is any element of `factory` that is in the
/// library's namespace.
KR_EXPORT std::string schemaToString(KrXmlFactory const& factory);

}  // namespace KrXml
