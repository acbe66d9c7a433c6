#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <array>
#include <string>
#include <string_view>

/// What became of a text: a value, no value at all, or one that is too large.
enum class KrXmlParse { Good, Malformed, OutOfRange };

/// The conversion between a value and its text in a document, the only place
/// where it stands. It does not depend on the locale. For each `T`:
///
/// - `expected`, `range`: what a message calls it, and one that is not too large;
/// - `schemaType`: its XML Schema type, and `schemaLargest`: the largest value of
///   that type which is one, where there are larger ones;
/// - `parse(text, value)`: sets `value` when the whole of `text`, but for white
///   space around it, is a value; otherwise leaves it as it was;
/// - `format(value, room)`: the text, in `room` where it needs any.
template <class T>
struct KrXmlText;

/// Room for any formatted number.
using KrXmlTextRoom = std::array<char, 32>;

/// Shortest text that reads back to the same bits; "INF", "-INF", "NaN". A
/// value beyond the range of double, or so small that it would become zero, is
/// out of range.
template <>
struct KR_EXPORT KrXmlText<double> {
    static constexpr char const* expected = "a number";
    static constexpr char const* range = "a number in the range of double";
    static constexpr char const* schemaType = "xs:double";
    static KrXmlParse parse(std::string_view text, double& value);
    static std::string_view format(double value, KrXmlTextRoom& room);
};

/// Decimal digits, 0 to 4294967295, and "-0".
template <>
struct KR_EXPORT KrXmlText<KrU32> {
    static constexpr char const* expected = "an integer";
    static constexpr char const* range = "an integer from 0 to 4294967295";
    // Not xs:unsignedInt, which some validators take neither white space nor '+' for.
    static constexpr char const* schemaType = "xs:nonNegativeInteger";
    static constexpr char const* schemaLargest = "4294967295";
    static KrXmlParse parse(std::string_view text, KrU32& value);
    static std::string_view format(KrU32 value, KrXmlTextRoom& room);
};

/// "true" or "false"; "1" and "0" are read too.
template <>
struct KR_EXPORT KrXmlText<bool> {
    static constexpr char const* expected = "true or false";
    static constexpr char const* range = expected;
    static constexpr char const* schemaType = "xs:boolean";
    static KrXmlParse parse(std::string_view text, bool& value);
    static std::string_view format(bool value, KrXmlTextRoom&) { return value ? "true" : "false"; }
};

/// The text itself, white space included.
template <>
struct KR_EXPORT KrXmlText<std::string> {
    static constexpr char const* expected = "a text";
    static constexpr char const* range = expected;
    static constexpr char const* schemaType = "xs:string";
    static KrXmlParse parse(std::string_view text, std::string& value);
    static std::string_view format(std::string const& value, KrXmlTextRoom&) { return value; }
};

/// `text` without the XML white space at its ends.
KR_EXPORT std::string_view krXmlTrimmed(std::string_view text);
