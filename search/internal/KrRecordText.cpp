#include "search/internal/KrRecordText.h"

#include "foundation/core/KrExport.h"
#include "foundation/xml/KrXmlText.h"

#include <array>
#include <charconv>

KR_SOURCE_VERSION;

namespace {

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t rest = i;
        for (int bit = 0; bit < 8; ++bit) {
            rest = rest >> 1 ^ (rest & 1 ? 0xedb88320 : 0);
        }
        table[i] = rest;
    }
    return table;
}
constexpr std::array<std::uint32_t, 256> crcTable = makeCrcTable();

constexpr char digits[] = "0123456789abcdef";

}  // namespace

namespace KrRecordText {

std::uint32_t crc(std::string_view text) {
    std::uint32_t rest = ~std::uint32_t{0};
    for (char const c : text) {
        rest = crcTable[(rest ^ static_cast<unsigned char>(c)) & 0xff] ^ rest >> 8;
    }
    return ~rest;
}

std::string sealed(std::string const& text) {
    std::uint32_t const seal = crc(text);
    std::string line = text + ' ';
    for (int shift = 28; shift >= 0; shift -= 4) {
        line += digits[seal >> shift & 0xf];
    }
    return line + '\n';
}

std::optional<std::string_view> unsealed(std::string_view line) {
    constexpr std::size_t sealSize = 9;  // with its blank
    if (line.size() < sealSize) {
        return std::nullopt;
    }
    std::string_view const text = line.substr(0, line.size() - sealSize);
    std::string const expected = sealed(std::string(text));
    if (std::string_view(expected).substr(0, line.size()) != line) {
        return std::nullopt;
    }
    return text;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (char const c : text) {
        if (c == '\\' || c == '"') {
            result.append({'\\', c});
        } else if (c == '\n') {
            result += "\\n";
        } else if (static_cast<unsigned char>(c) < ' ') {
            result.append({'\\', 'x', digits[c >> 4 & 0xf], digits[c & 0xf]});
        } else {
            result += c;
        }
    }
    return result;
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool const isEscape = text[i] == '\\' && i + 1 < text.size();
        i += isEscape ? 1 : 0;
        if (isEscape && text[i] == 'n') {
            result += '\n';
        } else if (isEscape && text[i] == 'x' && i + 2 < text.size()) {
            unsigned char c = 0;
            std::from_chars(text.data() + i + 1, text.data() + i + 3, c, 16);
            result += static_cast<char>(c);
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string number(double value) {
    KrXmlTextRoom room;
    return std::string(KrXmlText<double>::format(value, room));
}

std::optional<double> parsedNumber(std::string_view text) {
    double value = 0.0;
    bool const isGood = KrXmlText<double>::parse(text, value) == KrXmlParse::Good;
    return isGood ? std::optional(value) : std::nullopt;
}

std::optional<std::uint64_t> parsedCount(std::string_view text) {
    std::uint64_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    bool const isGood = error == std::errc() && end == text.data() + text.size();
    return isGood ? std::optional(value) : std::nullopt;
}

std::string_view nextWord(std::string_view& line) {
    std::size_t const end = std::min(line.find(' '), line.size());
    std::string_view const word = line.substr(0, end);
    line.remove_prefix(std::min(end + 1, line.size()));
    return word;
}

}  // namespace KrRecordText
