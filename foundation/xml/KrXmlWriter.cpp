#include "foundation/xml/KrXmlWriter.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/internal/KrCharacters.h"

#include <algorithm>
#include <ostream>

KR_SOURCE_VERSION;

namespace {

constexpr std::size_t firstSize = 1 << 10;  // most documents are small
constexpr std::size_t bufferSize = 1 << 16;

// The length of the first character of `text` in bytes; 0 if it is malformed or not a
// character of XML 1.0.
std::size_t characterLength(std::string_view text) {
    auto const [code, length] = krDecodeUtf8(text);
    bool const control = code < 0x20 && code != '\t' && code != '\n' && code != '\r';
    return control || code == 0xFFFE || code == 0xFFFF ? 0 : length;
}

// Whether the local name is a name of XML 1.0: a letter of most alphabets, then letters and
// the characters of `others`. A name without a namespace may contain a colon behind a prefix.
bool isName(KrToken const& token) {
    struct Range {
        char32_t first, last;
    };
    static constexpr Range letters[] = {
        {'A', 'Z'},       {'a', 'z'},       {'_', '_'},       {0xC0, 0xD6},     {0xD8, 0xF6},
        {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
        {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
    static constexpr Range others[] = {
        {'0', '9'}, {'-', '.'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};
    auto const isIn = [](auto const& ranges, char32_t code) {
        return std::ranges::any_of(
            ranges, [=](Range range) { return code >= range.first && code <= range.last; });
    };
    std::string_view const name = token.localName();
    bool const colons = token.namespaceUri().empty();
    for (std::string_view rest = name; !rest.empty();) {
        auto const [code, length] = krDecodeUtf8(rest);
        bool const follows =
            rest.size() < name.size() && (isIn(others, code) || (code == ':' && colons));
        if (length == 0 || !(isIn(letters, code) || follows)) {
            return false;
        }
        rest.remove_prefix(length);
    }
    return !name.empty();
}

// A comment may not contain "--" nor end with '-'.
std::string commentText(std::string const& text) {
    std::string comment;
    for (char const c : text) {
        if (c == '-' && !comment.empty() && comment.back() == '-') {
            comment += ' ';
        }
        comment += c;
    }
    return comment;
}

}  // namespace

KrXmlWriter::KrXmlWriter(std::string const& writerText, std::ostream& stream)
    : stream_(stream),
      comment_(commentText(writerText)),
      depthLimit_(KrXmlReader::defaultDepthLimit) {
    buffer_.resize(firstSize);
    levels_.reserve(8);
}

KrXmlWriter::~KrXmlWriter() {
    try {
        flush();
    } catch (...) {  // the stream's owner sees its state
    }
}

void KrXmlWriter::startElement(KrToken const& token) {
    if (depth_ == 0) {
        startDocument();
    }
    closeStartTag();
    if (depth_ == levels_.size()) {
        if (depth_ == depthLimit_) {
            refuse("nesting of more than " + std::to_string(depthLimit_) + " elements");
        }
        levels_.emplace_back();
    }
    Level const& level = levels_[depth_];
    if (level.tags.empty() || !(level.token == token)) {
        name(depth_, token);
    }
    put(level.tags.data(), level.endTag);
    if (level.declares) {
        put(" xmlns=\"");
        inAttribute_ = true;
        putEscaped(level.token.namespaceUri());
        inAttribute_ = false;
        put('"');
    }
    ++depth_;
    inStartTag_ = true;
    content_ = Content::None;
}

void KrXmlWriter::endElement() {
    if (depth_ == 0) {
        return;
    }
    --depth_;
    if (inStartTag_) {
        put("/>");
        inStartTag_ = false;
    } else {
        Level const& level = levels_[depth_];
        if (content_ == Content::Elements) {
            put(level.tags.data(), level.startTag);
        }
        put(level.tags.data() + level.endTag, level.tags.size() - level.endTag);
    }
    content_ = Content::Elements;
    if (depth_ == 0) {
        put('\n');
        flush();
    } else if (used_ >= bufferSize) {
        flush();
    }
}

void KrXmlWriter::startAttribute(KrToken const& token) {
    if (!isName(token)) {
        refuse("attribute name \"" + token.text() + '"');
    }
    put(' ');
    put(token.localName());
    put("=\"");
    inAttribute_ = true;
}

void KrXmlWriter::endAttribute() {
    put('"');
    inAttribute_ = false;
}

void KrXmlWriter::text(std::string_view text) {
    if (!inAttribute_) {
        closeStartTag();
        content_ = Content::Text;
    }
    putEscaped(text);
}

void KrXmlWriter::plainText(std::string_view text) {
    if (!inAttribute_) {
        closeStartTag();
        content_ = Content::Text;
    }
    put(text);
}

void KrXmlWriter::refuse(std::string const& reason) {
    refused_ = true;
    Kr::Print::instance().write(Kr::PrintType::Error, "cannot be written: %s\n", reason);
}

KrBoolean KrXmlWriter::good() const { return !refused_ && stream_.good(); }

KrBoolean KrXmlWriter::flush() {
    stream_.write(buffer_.data(), static_cast<std::streamsize>(used_));
    used_ = 0;
    if (depth_ == 0) {
        stream_.flush();
    }
    return good();
}

void KrXmlWriter::startDocument() {
    put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    if (comment_.empty()) {
        return;
    }
    put("\n<!-- ");
    for (std::string_view rest = comment_; !rest.empty();) {
        std::size_t const length = characterLength(rest);
        put(length ? rest.substr(0, length) : "?");
        rest.remove_prefix(length ? length : 1);
    }
    put(" -->");
}

// Prepares a level for the element `token`. Refuses a local name that XML does not allow.
void KrXmlWriter::name(std::size_t index, KrToken const& token) {
    Level& level = levels_[index];
    level.tags.clear();  // stays empty if an allocation below throws
    level.token = token;
    std::string_view const local = level.token.localName();
    if (!isName(token)) {
        refuse("element name \"" + token.text() + '"');
    }
    level.startTag = 1 + 2 * index;
    level.endTag = level.startTag + 1 + local.size();
    level.tags.reserve(level.endTag + local.size() + 3);
    level.tags.append("\n").append(2 * index, ' ');
    level.tags.append("<").append(local).append("</").append(local).append(">");
    std::string_view const enclosing =
        index == 0 ? std::string_view() : levels_[index - 1].token.namespaceUri();
    level.declares = level.token.namespaceUri() != enclosing;
    if (index + 1 < levels_.size()) {
        levels_[index + 1].tags.clear();  // was for a child of another element
    }
}

void KrXmlWriter::closeStartTag() {
    if (inStartTag_) {
        put('>');
        inStartTag_ = false;
    }
}

void KrXmlWriter::putEscaped(std::string_view text) {
    while (!text.empty()) {
        std::size_t const length = characterLength(text);
        char const c = text.front();
        if (length == 0) {
            refuse("a text that XML cannot carry, in element " +
                   (depth_ == 0 ? "" : std::string(levels_[depth_ - 1].token.localName())));
            return;
        }
        if (c == '&') {
            put("&amp;");
        } else if (c == '<') {
            put("&lt;");
        } else if (c == '>') {
            put("&gt;");
        } else if (c == '\r') {
            put("&#13;");  // a parser would turn it into a line feed
        } else if (inAttribute_ && c == '"') {
            put("&quot;");
        } else if (inAttribute_ && c == '\n') {
            put("&#10;");
        } else if (inAttribute_ && c == '\t') {
            put("&#9;");
        } else {
            put(text.substr(0, length));
        }
        text.remove_prefix(length);
    }
}
