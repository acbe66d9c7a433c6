#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlText.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KrXmlFactory;
class KrXmlObserver;

/// A streaming pull reader of one XML document. It parses the document in chunks on demand and
/// builds no tree.
///
/// The reader stands on an element. An object's `read` begins with the reader on the object's
/// start tag and reads what is inside:
///
///     while (reader.nextAttribute()) ...            // the start tag's attributes
///     while (reader.nextChild()) {                  // until the end tag
///         std::size_t const depth = reader.depth();
///         ... child.read(reader), chosen by reader.token() ...
///         reader.close(depth);                      // skips what it left unread
///     }
///
/// or, in an element without children, calls `readText`. The first call moves the reader to
/// the root element.
///
/// Every refusal is counted and printed as one message "FILE:LINE:COLUMN: PATH: expected ...,
/// found ...". Lines and columns begin at 1. Outside of the root element "PATH: " is left out.
/// The count never decreases. After 1,000 refusals of one document the reader prints no more
/// of them; at the end it prints one message with their number.
///
/// Malformed text is refused, and the reader finds no further children then. The same holds
/// for nesting deeper than the limit, for a namespace of more than 1,000 bytes, and for a
/// document type declaration, so that no entity is expanded and nothing external is fetched.
///
/// A name matches a token only if both the namespace and the local name match. If the
/// namespace of a name does not end in '#', its token is "{namespace}local".
///
/// Read the attributes first: they are lost when the reader moves inside the element.
///
/// Memory: a chunk of 16 KB with its events, the text of one element, and the distinct names
/// of the document.
class KR_EXPORT KrXmlReader {
public:
    /// The deepest nesting that is read before any call of `setDepthLimit`.
    static constexpr std::size_t defaultDepthLimit = 256;

    /// Reads from `stream`, which must outlive the reader. Messages call the document
    /// `fileName`.
    explicit KrXmlReader(std::istream& stream, std::string const& fileName = "");
    ~KrXmlReader();
    KrXmlReader(KrXmlReader const&) = delete;
    KrXmlReader& operator=(KrXmlReader const&) = delete;

    /// Returns the tags that may stand at a place. Called only if a message lists them.
    using KnownTags = std::function<std::vector<KrToken>()>;

    /// Moves to the next child of the current element. False at its end tag, which ends the
    /// current element. Text between the children is refused, and the message lists `known`.
    KrBoolean nextChild(KnownTags const& known = {});

    /// Moves to the next attribute of the current element's start tag; false if there is none.
    KrBoolean nextAttribute();

    /// Reads an element that holds only text, up to its end tag. `text` is valid until the
    /// reader moves on. Child elements, and attributes that were not read, are refused; the
    /// result is false then.
    KrBoolean readText(std::string_view& text);

    /// Skips to the end of the element at `depth`, a result of `depth()`.
    void close(std::size_t depth);

    /// Skips to the end of the document. True if all of it was well formed.
    KrBoolean finish();

    /// Prints and counts a refusal at the current element. Returns false.
    KrBoolean refuse(std::string const& expected, std::string const& found);

    /// Refuses the current element. The message lists `known`, or if only the namespace is
    /// wrong, shows the right one. It suggests a name that is one or two letters off. Returns
    /// false.
    KrBoolean refuseElement(KnownTags const& known);

    /// Refuses the current attribute in the same way.
    KrBoolean refuseAttribute(KnownTags const& known = {});

    /// Refuses every attribute of the start tag that was not read yet; true if there was none.
    KrBoolean refuseAttributes();

    /// Whether there is a current element: false after its end, in a malformed document, and in
    /// a document without a root element.
    KrBoolean onElement();

    /// Whether the part of the document that was read is malformed.
    KrBoolean malformed() const { return stopped_; }

    /// The tag of the current element; empty if there is none.
    KrToken const& token();
    /// The number of open elements: 1 on the root.
    std::size_t depth();
    /// The name of the attribute that `nextAttribute` moved to.
    KrToken const& attributeName() const;
    /// The value of that attribute, valid until the reader moves on.
    std::string_view attributeValue() const;

    /// The name of the document in messages.
    std::string const& fileName() const { return fileName_; }
    /// The line where the current element's start tag begins, counted from 1.
    KrU32 line() const { return place().line; }
    /// The column where it begins, counted from 1.
    KrU32 column() const { return place().column; }
    /// The number of bytes read so far, in whole chunks.
    std::size_t bytesRead() const;
    /// The number of bytes that the stream still has; 0 if it does not report it.
    std::size_t bytesLeft() const;
    /// The local names from the root to the current element, joined by '/'; of more than nine
    /// only the first four and the last four. `krXmlPrintable` escapes each.
    std::string path() const;
    /// The number of refusals so far.
    std::size_t errorCount() const { return errorCount_; }

    /// Sets the deepest nesting that is read. Call it before the reader moves.
    void setDepthLimit(std::size_t limit);
    /// The deepest nesting that is read.
    std::size_t depthLimit() const;

    /// Sets the factory for elements for which containers and vectors have no creator. It must
    /// outlive the reader. Null, the default, is none.
    void setFactory(KrXmlFactory const* factory) { factory_ = factory; }
    /// The factory that was set, null if there is none.
    KrXmlFactory const* factory() const { return factory_; }

    /// Shows the document to `observer` too, which must outlive the reader. Call it before the
    /// reader moves. Null, the default, is none: comments are then skipped and places computed
    /// on demand.
    void setObserver(KrXmlObserver* observer);

private:
    class Parser;  // the XML parser and its queue of events

    struct Place {
        KrU32 line = 1;
        KrU32 column = 1;
    };
    struct OpenElement {
        KrToken const* token;
        mutable Place place;  // if the line is 0, counted on demand
    };

    enum class Step { Start, End, Text, None };

    bool begin();
    void locateOpen() const;
    Place place() const;
    Step step(std::string_view& text);
    bool refuseAt(Place place, std::string const& expected, std::string const& found);
    bool isStray(std::string_view text, KnownTags const& known);
    bool isMute() const;
    void tellOmitted();

    std::unique_ptr<Parser> parser_;
    std::string fileName_;
    KrXmlFactory const* factory_ = nullptr;
    std::vector<OpenElement> open_;  // from the root to the current element
    std::string text_;
    Place textPlace_;  // of the last text
    std::size_t errorCount_ = 0;
    std::size_t omitted_ = 0;  // refusals that were not printed
    Place omittedPlace_;       // of the last such refusal
    bool begun_ = false;
    bool ended_ = false;    // the current element's end tag was read
    bool stopped_ = false;  // malformed: nothing more is read
};

/// The local names of `tags`, from the root on, as in `KrXmlReader::path`.
KR_EXPORT std::string krXmlPath(std::span<KrToken const* const> tags);

/// `text` for a message: cut after `longest` bytes, with controls, line ends and characters
/// that change the direction of text escaped (`\n`, `\u{85}`).
KR_EXPORT std::string krXmlPrintable(std::string_view text, std::size_t longest = 60);

/// `krXmlPrintable(text)` in double quotes.
KR_EXPORT std::string krXmlQuoted(std::string_view text);

/// Sets `value` from `text`. If that is impossible, refuses the text at the reader's current
/// element and returns false.
template <class T>
KrBoolean krXmlSetFromText(KrXmlReader& reader, std::string_view text, T& value) {
    KrXmlParse const result = KrXmlText<T>::parse(text, value);
    return result == KrXmlParse::Good ||
           reader.refuse(
               result == KrXmlParse::OutOfRange ? KrXmlText<T>::range : KrXmlText<T>::expected,
               krXmlQuoted(text));
}
