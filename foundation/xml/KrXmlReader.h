#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlText.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class KrXmlFactory;

/// A pull reader of one XML document, streaming: the document is parsed in
/// chunks as it is asked for, and no tree of it is built.
///
/// The reader stands on an element. An object's `read` is called with the
/// reader on the object's start tag and takes what is inside:
///
///     while (reader.nextAttribute()) ...            // the start tag's attributes
///     while (reader.nextChild()) {                  // until the end tag
///         std::size_t const depth = reader.depth();
///         ... child.read(reader), chosen by reader.token() ...
///         reader.close(depth);                      // whatever it left unread
///     }
///
/// or, for an element without children, `readText`. A reader that has not moved
/// yet stands on the root element as soon as anything is asked of it.
///
/// Whatever is refused, malformed text included, is printed as one message
/// "FILE:LINE:COLUMN: PATH: expected ..., found ..." with lines and columns
/// counted from 1, without "PATH: " outside the root element, and counted. The
/// count never goes back. After 1,000 refusals of one document the reader prints no
/// more of them, but one at its end with their number. A document type declaration is
/// refused, so that no entity is expanded and nothing external is fetched, and so are
/// nesting deeper than the limit and a namespace of more than 1,000 bytes. After
/// malformed text the reader finds no further children.
///
/// A name is a token's only if its namespace and its local name both are the token's.
/// The token of a name whose namespace does not end in '#' is "{namespace}local".
///
/// Attributes come first: they are gone once the reader has moved inside.
///
/// Memory: a chunk of 16 KB with its events, the text of one element, and the
/// distinct names of the document.
class KR_EXPORT KrXmlReader {
public:
    /// The nesting that is read unless `setDepthLimit` says otherwise.
    static constexpr std::size_t defaultDepthLimit = 256;

    /// Reads from `stream`, which must outlive the reader. `fileName` is what
    /// messages call the document.
    explicit KrXmlReader(std::istream& stream, std::string const& fileName = "");
    ~KrXmlReader();
    KrXmlReader(KrXmlReader const&) = delete;
    KrXmlReader& operator=(KrXmlReader const&) = delete;

    /// Tells the tags that may stand at a place; asked only when a message lists them.
    using KnownTags = std::function<std::vector<KrToken>()>;

    /// Moves to the next child of the current element; false when its end tag
    /// was met instead, which ends the current element. Text between the children is
    /// refused, and the message lists `known`.
    KrBoolean nextChild(KnownTags const& known = {});

    /// Moves to the next attribute of the current element's start tag.
    KrBoolean nextAttribute();

    /// Takes the rest of an element that holds text alone: `text` is its
    /// characters, valid until the reader moves on. Child elements, and
    /// attributes not yet taken, are refused; the result is false when any were.
    KrBoolean readText(std::string_view& text);

    /// Reads on to the end of the element at `depth`, as `depth()` gave it,
    /// passing over what is left of it.
    void close(std::size_t depth);

    /// Reads on to the end of the document. True when all of it was well formed.
    KrBoolean finish();

    /// Prints and counts a refusal at the current element. Returns false.
    KrBoolean refuse(std::string const& expected, std::string const& found);

    /// Refuses the current element as none of `known`, which the message lists unless
    /// the namespace alone is wrong. It asks whether a name was meant that is one or two
    /// letters off. Returns false.
    KrBoolean refuseElement(KnownTags const& known);

    /// The same for the current attribute.
    KrBoolean refuseAttribute(KnownTags const& known = {});

    /// Refuses every attribute of the start tag that was not taken yet; true when
    /// there was none.
    KrBoolean refuseAttributes();

    /// False once the document has ended or turned out to be malformed, and for
    /// a document without a root element.
    KrBoolean onElement();

    /// Whether the document has turned out to be malformed, as far as it was read.
    KrBoolean malformed() const { return stopped_; }

    /// The tag of the current element; empty when there is none.
    KrToken const& token();
    /// How many elements are open: 1 on the root.
    std::size_t depth();
    /// The name of the attribute that `nextAttribute` moved to.
    KrToken const& attributeName() const;
    /// Its value, valid until the reader moves on.
    std::string_view attributeValue() const;

    /// What messages call the document.
    std::string const& fileName() const { return fileName_; }
    /// The line where the current element's start tag begins, counted from 1.
    KrU32 line() const { return place().line; }
    /// The column there, counted from 1.
    KrU32 column() const { return place().column; }
    /// How many bytes of the document were read, in whole chunks.
    std::size_t bytesRead() const;
    /// How many more the stream has, as far as it tells; 0 when it does not.
    std::size_t bytesLeft() const;
    /// The local names from the root to the current element, joined by '/'; of more than
    /// nine the first and the last four. Each is as `krXmlPrintable` makes it.
    std::string path() const;
    /// How much was refused so far; it never goes back.
    std::size_t errorCount() const { return errorCount_; }

    /// Deepest nesting that is read: at most so many elements are open. To be set before
    /// the reader moves.
    void setDepthLimit(std::size_t limit);
    /// The limit in force.
    std::size_t depthLimit() const;

    /// A factory that containers and vectors ask for elements which they have no
    /// creator for; not owned. Null, as at first: none.
    void setFactory(KrXmlFactory const* factory) { factory_ = factory; }
    /// The factory in force, null when there is none.
    KrXmlFactory const* factory() const { return factory_; }

private:
    class Parser;  // the XML parser, and what it has read ahead

    struct Place {
        KrU32 line = 1;
        KrU32 column = 1;
    };
    struct OpenElement {
        KrToken const* token;
        mutable Place place;  // line 0: counted when it is asked for
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
    Place textPlace_;  // of the text that was met last
    std::size_t errorCount_ = 0;
    std::size_t omitted_ = 0;  // refusals that were not printed
    Place omittedPlace_;       // of the last of them
    bool begun_ = false;
    bool ended_ = false;    // the current element's end tag was read
    bool stopped_ = false;  // malformed: there is no more to be had
};

/// `text` as a message may show it: controls, line ends and what turns the direction of
/// text escaped (`\n`, `\u{85}`), and cut after `longest` bytes.
KR_EXPORT std::string krXmlPrintable(std::string_view text, std::size_t longest = 60);

/// `text` as `krXmlPrintable` makes it, in double quotes.
KR_EXPORT std::string krXmlQuoted(std::string_view text);

/// Sets `value` from `text`, or refuses the text at the reader's current element.
template <class T>
KrBoolean krXmlSetFromText(KrXmlReader& reader, std::string_view text, T& value) {
    KrXmlParse const result = KrXmlText<T>::parse(text, value);
    return result == KrXmlParse::Good ||
           reader.refuse(
               result == KrXmlParse::OutOfRange ? KrXmlText<T>::range : KrXmlText<T>::expected,
               krXmlQuoted(text));
}
