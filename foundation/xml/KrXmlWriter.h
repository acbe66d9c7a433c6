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

/// Writes one XML document, indented by two blanks a level, an element that
/// holds text alone on one line. What it wrote reads back: characters that XML
/// would change or misread are escaped, and a text that XML cannot carry (a
/// control character, malformed UTF-8) is refused with a message, and so is nesting
/// deeper than readers take.
///
/// The namespace of an element is declared as the default namespace where it
/// differs from the enclosing element's. Attributes have no namespace: of their
/// tokens the local name is written.
///
/// Output is buffered and handed to the stream when the root element ends, when
/// the buffer is full, and on destruction.
class KR_EXPORT KrXmlWriter {
public:
    /// Writes to `stream`, which must outlive the writer. A `writerText` that is
    /// not empty becomes a comment ahead of the root element.
    KrXmlWriter(std::string const& writerText, std::ostream& stream);
    ~KrXmlWriter();
    KrXmlWriter(KrXmlWriter const&) = delete;
    KrXmlWriter& operator=(KrXmlWriter const&) = delete;

    /// Lets elements nest to `limit`, as deep as `KrXmlReader::setDepthLimit` has a
    /// reader take them. To be set before the first element.
    void setDepthLimit(std::size_t limit) { depthLimit_ = limit; }

    /// How deep elements have nested so far: 1 with the root alone.
    std::size_t deepest() const { return levels_.size(); }

    /// Opens an element inside the current one; the first is the root.
    void startElement(KrToken const& token);
    /// Closes the current element.
    void endElement();

    /// Opens an attribute: what is written as text up to `endAttribute` is its value.
    /// It stands between `startElement` and the element's content.
    void startAttribute(KrToken const& token);
    /// Closes the attribute.
    void endAttribute();

    /// Character content of the current element or attribute, escaped.
    void text(std::string_view text);

    /// The same for text that needs no escaping, such as a number.
    void plainText(std::string_view text);

    /// Refuses to write something: prints the reason, and the document fails.
    void refuse(std::string const& reason);

    /// False once anything was refused or the stream has failed.
    KrBoolean good() const;

    /// Hands what is buffered to the stream; true when the document is good.
    KrBoolean flush();

private:
    // An open element, or the last one that stood so deep: siblings of one name are
    // written from the same texts.
    struct Level {
        KrToken token;
        std::string tags;          // a line end with the indentation, "<name", "</name>"
        std::size_t startTag = 0;  // where in it "<name" begins
        std::size_t endTag = 0;    // where "</name>" begins
        bool declares = false;     // its namespace, which is not the enclosing element's
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
    std::string buffer_;  // of which the first used_ characters are waiting
    std::size_t used_ = 0;
    std::vector<Level> levels_;
    std::size_t depthLimit_;
    std::size_t depth_ = 0;            // so many elements are open
    Content content_ = Content::None;  // of the current element so far
    bool inStartTag_ = false;
    bool inAttribute_ = false;
    bool refused_ = false;
};
