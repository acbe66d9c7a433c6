#pragma once

#include <cstddef>
#include <string_view>

/// Whether XML counts `c` as white space.
inline bool krXmlIsBlank(char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; }

/// A character of UTF-8. If it is malformed, cut off, overlong or a surrogate, its length is
/// 0 and its code is its first byte.
struct KrUtf8Character {
    char32_t code;
    std::size_t length;
};

/// Decodes the first character of `text`, which must not be empty.
inline KrUtf8Character krDecodeUtf8(std::string_view text) {
    auto const byte = [&](std::size_t i) {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    };
    unsigned const lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    char32_t code = lead & (0x7FU >> length);
    bool good = lead >= 0xC2 && lead <= 0xF4;
    for (std::size_t i = 1; i < length; ++i) {
        good = good && (byte(i) & 0xC0U) == 0x80;
        code = code << 6 | (byte(i) & 0x3FU);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (!good || code < smallest[length] || code > 0x10FFFF || surrogate) {
        return {lead, 0};
    }
    return {code, length};
}
