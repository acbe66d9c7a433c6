#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"

#include <string_view>

/// Sees a document while a `KrXmlReader` parses it: each tag with its place, the texts, and the
/// comments, in the order of the document. Objects read the document as without an observer.
///
/// The calls come in whole chunks of the document, ahead of the objects that read it. They end
/// where the document is malformed. Tokens live as long as the reader, other texts until the
/// call returns. An exception of an observer ends the reading and passes through.
class KR_EXPORT KrXmlObserver {
public:
    virtual ~KrXmlObserver() = default;

    /// A start tag, which begins at `line` and `column`, counted from 1.
    virtual void startElement(KrToken const& tag, KrU32 line, KrU32 column) = 0;
    /// An attribute of the last start tag.
    virtual void attribute(KrToken const& name, std::string_view value) = 0;
    /// A piece of the text of the innermost open element. A long text comes in several pieces; a
    /// text with comments inside comes before them. White space behind an end tag is left out.
    virtual void text(std::string_view piece) = 0;
    /// The end tag of the innermost open element.
    virtual void endElement() = 0;
    /// A comment without its "<!--" and "-->". Its place is that of its first character '<'.
    virtual void comment(std::string_view text, KrU32 line, KrU32 column) = 0;
};
