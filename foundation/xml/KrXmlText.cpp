#include "foundation/xml/KrXmlText.h"

#include "foundation/xml/internal/KrCharacters.h"

#include <charconv>
#include <cmath>
#include <limits>

KR_SOURCE_VERSION;

namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool startsNumber(char c) { return isDigit(c) || c == '.'; }

// Drops white space, and a '+' before a number, which std::from_chars refuses. The '+'
// stays in "+INF" and "+-1", so that they are malformed.
std::string_view numberText(std::string_view text) {
    text = krXmlTrimmed(text);
    if (text.size() > 1 && text.front() == '+' && startsNumber(text[1])) {
        text.remove_prefix(1);
    }
    return text;
}

template <class T>
KrXmlParse parseNumber(std::string_view text, T& value) {
    T parsed{};
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) {
        return KrXmlParse::Malformed;
    }
    if (error != std::errc{}) {
        return KrXmlParse::OutOfRange;
    }
    value = parsed;
    return KrXmlParse::Good;
}

template <class T>
std::string_view formatNumber(T value, KrXmlTextRoom& room) {
    char* const end = std::to_chars(room.data(), room.data() + room.size(), value).ptr;
    return {room.data(), static_cast<std::size_t>(end - room.data())};
}

}  // namespace

std::string_view krXmlTrimmed(std::string_view text) {
    while (!text.empty() && krXmlIsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && krXmlIsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

KrXmlParse KrXmlText<double>::parse(std::string_view text, double& value) {
    text = numberText(text);
    // A number begins with a digit or a point. Otherwise only the three names of XML Schema
    // are values; std::from_chars would also accept "inf" and "nan".
    std::size_t const sign = text.starts_with('-') ? 1 : 0;
    if (text.size() > sign && startsNumber(text[sign])) {
        return parseNumber(text, value);
    }
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (text == "INF") {
        value = infinity;
    } else if (text == "-INF") {
        value = -infinity;
    } else if (text == "NaN") {
        value = std::numeric_limits<double>::quiet_NaN();
    } else {
        return KrXmlParse::Malformed;
    }
    return KrXmlParse::Good;
}

std::string_view KrXmlText<double>::format(double value, KrXmlTextRoom& room) {
    if (std::isfinite(value)) {
        return formatNumber(value, room);
    }
    return std::isnan(value) ? "NaN" : value > 0.0 ? "INF" : "-INF";
}

KrXmlParse KrXmlText<KrU32>::parse(std::string_view text, KrU32& value) {
    text = numberText(text);
    if (!text.starts_with('-')) {
        return parseNumber(text, value);
    }
    KrU32 opposite = 0;
    KrXmlParse const result = parseNumber(text.substr(1), opposite);
    if (result == KrXmlParse::Good && opposite > 0) {
        return KrXmlParse::OutOfRange;
    }
    value = result == KrXmlParse::Good ? 0 : value;
    return result;
}

std::string_view KrXmlText<KrU32>::format(KrU32 value, KrXmlTextRoom& room) {
    return formatNumber(value, room);
}

KrXmlParse KrXmlText<bool>::parse(std::string_view text, bool& value) {
    text = krXmlTrimmed(text);
    bool const isTrue = text == "true" || text == "1";
    if (!isTrue && text != "false" && text != "0") {
        return KrXmlParse::Malformed;
    }
    value = isTrue;
    return KrXmlParse::Good;
}

KrXmlParse KrXmlText<std::string>::parse(std::string_view text, std::string& value) {
    value = text;
    return KrXmlParse::Good;
}
