#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrToken.h"
#include "foundation/core/KrTypes.h"

#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// Writes one XML document. Each level is indented by two blanks; an element that holds only
/// text takes one line. The document reads back: characters that XML would change or misread
/// are escaped. A text that XML cannot carry (a control character, malformed UTF-8) is refused
/// with a message, and so is nesting deeper than readers accept.
///
/// If the namespace of an element differs from that of the enclosing element, it is declared
/// as the default namespace. An attribute is written with its local name only.
///
/// The output is buffered. It goes to the stream when the root element ends, when the buffer
/// is full, and on destruction.
class KR_EXPORT KrXmlWriter {
public:
    /// Writes to `stream`, which must outlive the writer. If `writerText` is not empty, it
    /// becomes a comment before the root element.
    KrXmlWriter(std::string const& writerText, std::ostream& stream);
    ~KrXmlWriter();
    KrXmlWriter(KrXmlWriter const&) = delete;
    KrXmlWriter& operator=(KrXmlWriter const&) = delete;

    /// Allows nesting up to `limit`, as `KrXmlReader::setDepthLimit` does for a reader. Call
    /// it before the first element.
    void setDepthLimit(std::size_t limit) { depthLimit_ = limit; }

    /// The deepest nesting so far: 1 for a root without children.
    std::size_t deepest() const { return levels_.size(); }

    /// Opens an element inside the current one; the first is the root.
    void startElement(KrToken const& token);
    /// Closes the current element.
    void endElement();

    /// Opens an attribute. The text up to `endAttribute` becomes its value. Call it between
    /// `startElement` and the element's content.
    void startAttribute(KrToken const& token);
    /// Closes the attribute.
    void endAttribute();

    /// Writes the escaped `text` into the current element or attribute.
    void text(std::string_view text);

    /// Writes a text that needs no escaping, such as a number.
    void plainText(std::string_view text);

    /// Prints `reason` as an error; `good` is false from now on.
    void refuse(std::string const& reason);

    /// False after a refusal or a failure of the stream.
    KrBoolean good() const;

    /// Writes the buffer to the stream; returns `good()`.
    KrBoolean flush();

private:
    // An open element, or the last one at this depth. Siblings with the same name share the
    // texts.
    struct Level {
        KrToken token;
        std::string tags;          // a line end with the indentation, "<name", "</name>"
        std::size_t startTag = 0;  // where "<name" begins in `tags`
        std::size_t endTag = 0;    // where "</name>" begins
        bool declares = false;     // whether it declares its namespace
    };
    enum class Content { None, Text, Elements };

    void closeStartTag();
    void startDocument();
    void name(std::size_t index, KrToken const& token);
    void put(char c) { put(&c, 1); }
    void put(std::string_view text) { put(text.data(), text.size()); }
    void put(char const* text, std::size_t size) {
        if (buffer_.size() - used_ < size) {
            buffer_.resize(2 * (buffer_.size() + size));
        }
        if (size > 0) {
            std::memcpy(buffer_.data() + used_, text, size);
            used_ += size;
        }
    }
    void putEscaped(std::string_view text);

    std::ostream& stream_;
    std::string comment_;
    std::string buffer_;  // its first used_ characters are not written yet
    std::size_t used_ = 0;
    std::vector<Level> levels_;
    std::size_t depthLimit_;
    std::size_t depth_ = 0;            // the number of open elements
    Content content_ = Content::None;  // of the current element so far
    bool inStartTag_ = false;
    bool inAttribute_ = false;
    bool refused_ = false;
};
