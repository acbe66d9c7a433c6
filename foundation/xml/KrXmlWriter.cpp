#include "foundation/xml/KrXmlWriter.h"

#include "foundation/core/KrPrint.h"

#include <ostream>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

constexpr std::size_t bufferSize = 1 << 16;

// How many bytes the character at the start of `text` takes in UTF-8; 0 when it
// is malformed or no character of XML 1.0.
std::size_t characterLength(std::string_view text) {
    auto const byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    unsigned const lead = byte(0);
    if (lead < 0x80) {
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    }
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    unsigned code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr unsigned smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
    bool const valid = lead >= 0xC2 && lead <= 0xF4 && code >= smallest[length] &&
                       code <= 0x10FFFF && !surrogate && code != 0xFFFE && code != 0xFFFF;
    return valid ? length : 0;
}

bool isName(std::string_view text) {
    auto const isLetter = [](unsigned char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c >= 0x80;
    };
    for (char const c : text) {
        if (!isLetter(static_cast<unsigned char>(c)) && !(c >= '0' && c <= '9') && c != '-' &&
            c != '.' && c != ':') {
            return false;
        }
    }
    return !text.empty() && isLetter(static_cast<unsigned char>(text.front()));
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
    : stream_(stream), comment_(commentText(writerText)) {
    buffer_.resize(bufferSize + bufferSize / 4);
}

KrXmlWriter::~KrXmlWriter() {
    try {
        flush();
    } catch (...) {  // a stream that throws has said so to its owner already
    }
}

void KrXmlWriter::startElement(KrToken const& token) {
    split(token);
    std::string_view const name = lastName_;
    std::string_view const uri = lastUri_;
    bool const isRoot = open_.empty();
    OpenElement element{names_.size(), 0, 0};
    std::string_view scope;
    if (isRoot) {
        put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
        if (!comment_.empty()) {
            put("\n<!-- ");
            for (std::string_view rest = comment_; !rest.empty();) {
                std::size_t const length = characterLength(rest);
                put(length ? rest.substr(0, length) : "?");
                rest.remove_prefix(length ? length : 1);
            }
            put(" -->");
        }
    } else {
        closeStartTag();
        element.namespaceBegin = open_.back().namespaceBegin;
        element.namespaceEnd = open_.back().namespaceEnd;
        scope = std::string_view(namespaces_)
                    .substr(element.namespaceBegin, element.namespaceEnd - element.namespaceBegin);
    }
    newLine();
    put('<');
    put(name);
    if (uri != scope) {
        element.namespaceBegin = namespaces_.size();
        namespaces_ += uri;
        element.namespaceEnd = namespaces_.size();
        put(" xmlns=\"");
        inAttribute_ = true;
        putEscaped(uri);
        inAttribute_ = false;
        put('"');
    }
    names_ += name;
    open_.push_back(element);
    inStartTag_ = true;
    content_ = Content::None;
}

void KrXmlWriter::endElement() {
    if (open_.empty()) {
        return;
    }
    OpenElement const element = open_.back();
    open_.pop_back();
    if (inStartTag_) {
        put("/>");
        inStartTag_ = false;
    } else {
        if (content_ == Content::Elements) {
            newLine();
        }
        put("</");
        put(std::string_view(names_).substr(element.nameBegin));
        put('>');
    }
    names_.resize(element.nameBegin);
    std::size_t const namespaceEnd = open_.empty() ? 0 : open_.back().namespaceEnd;
    if (namespaces_.size() != namespaceEnd) {
        namespaces_.resize(namespaceEnd);
    }
    content_ = Content::Elements;
    if (open_.empty()) {
        put('\n');
        flush();
    } else if (used_ >= bufferSize) {
        flush();
    }
}

void KrXmlWriter::startAttribute(KrToken const& token) {
    if (!isName(token.localName())) {
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
    if (open_.empty()) {
        stream_.flush();
    }
    return good();
}

// Refuses a token whose local name is no name of XML.
void KrXmlWriter::split(KrToken const& token) {
    std::string const& text = token;
    if (text == lastToken_ && !text.empty()) {
        return;
    }
    lastToken_ = text;
    lastName_ = token.localName();
    lastUri_ = token.namespaceUri();
    if (!isName(lastName_)) {
        refuse("element name \"" + text + '"');
    }
}

void KrXmlWriter::closeStartTag() {
    if (inStartTag_) {
        put('>');
        inStartTag_ = false;
    }
}

void KrXmlWriter::newLine() {
    constexpr std::string_view blanks = "\n                                ";
    std::size_t const indentation = 2 * open_.size();
    put(blanks.substr(0, 1 + indentation));
    for (std::size_t more = blanks.size() - 1; more < indentation; ++more) {
        put(' ');
    }
}

void KrXmlWriter::putEscaped(std::string_view text) {
    while (!text.empty()) {
        std::size_t const length = characterLength(text);
        char const c = text.front();
        if (length == 0) {
            refuse("a text that XML cannot carry, in element " +
                   names_.substr(open_.empty() ? 0 : open_.back().nameBegin));
            return;
        }
        if (c == '&') {
            put("&amp;");
        } else if (c == '<') {
            put("&lt;");
        } else if (c == '>') {
            put("&gt;");
        } else if (c == '\r') {
            put("&#13;");  // a parser would make a line feed of it
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
