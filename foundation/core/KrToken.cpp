#include "foundation/core/KrToken.h"

#include <ostream>

KR_SOURCE_VERSION;

KrToken::~KrToken() = default;

std::string KrToken::text() const { return text_; }

KrToken& KrToken::operator+=(std::string const& more) {
    text_ += more;
    return *this;
}

std::string_view KrToken::localName() const {
    // npos + 1 is 0: without a '#' the local name is the whole text.
    return std::string_view(text_).substr(text_.rfind('#') + 1);
}

std::string_view KrToken::namespaceUri() const {
    return std::string_view(text_).substr(0, text_.rfind('#') + 1);
}

KrToken operator+(KrToken const& prefix, char const* local) {
    KrToken result(prefix);
    result += local;
    return result;
}

std::ostream& operator<<(std::ostream& stream, KrToken const& token) {
    std::string const text = token.text();
    return stream.write(text.data(), static_cast<std::streamsize>(text.size()));
}
