#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// The text of a record's lines.
namespace KrRecordText {

/// The CRC-32 of IEEE 802.3 and gzip.
std::uint32_t crc(std::string_view text);

/// `text`, a blank, its CRC in eight hexadecimal digits, and a line end.
std::string sealed(std::string const& text);

/// A sealed line without its line end, without the seal; nothing if the two do not fit.
std::optional<std::string_view> unsealed(std::string_view line);

/// `text` on one line: '\', '"' and control characters as escapes of C.
std::string escaped(std::string_view text);
/// What `escaped` was made of.
std::string unescaped(std::string_view text);

/// The shortest text of the same bits, "NaN", "INF" or "-INF"; in any locale.
std::string number(double value);
/// The number of a whole text; nothing if it is none.
std::optional<double> parsedNumber(std::string_view text);
std::optional<std::uint64_t> parsedCount(std::string_view text);

/// Takes the text up to the next blank off the front of `line`.
std::string_view nextWord(std::string_view& line);

}  // namespace KrRecordText
