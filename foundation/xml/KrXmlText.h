#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <array>
#include <string>
#include <string_view>

/// The result of parsing a text: a value, a malformed text, or a value out of range.
enum class KrXmlParse { Good, Malformed, OutOfRange };

/// The conversion between a value and its text in a document, independent of the locale.
/// For each `T`:
///
/// - `expected`, `range`: how a message describes a value, and a value in range;
/// - `schemaType`: its XML Schema type;
/// - `schemaLargest`: the largest value, if the XML Schema type has larger ones;
/// - `parse(text, value)`: sets `value` if all of `text`, except for white space at its
///   ends, is a value; otherwise `value` stays;
/// - `format(value, room)`: the text, which may point into `room`.
template <class T>
struct KrXmlText;

/// Memory for the text of any number.
using KrXmlTextRoom = std::array<char, 32>;

/// The shortest text that reads back to the same bits; "INF", "-INF", "NaN". A value that
/// overflows, or underflows to zero, is out of range.
template <>
struct KR_EXPORT KrXmlText<double> {
    static constexpr char const* expected = "a number";
    static constexpr char const* range = "a number in the range of double";
    static constexpr char const* schemaType = "xs:double";
    static KrXmlParse parse(std::string_view text, double& value);
    static std::string_view format(double value, KrXmlTextRoom& room);
};

/// Decimal digits, 0 to 4294967295. "-0" is read too.
template <>
struct KR_EXPORT KrXmlText<KrU32> {
    static constexpr char const* expected = "an integer";
    static constexpr char const* range = "an integer from 0 to 4294967295";
    // Not xs:unsignedInt: some validators refuse white space and '+' in it.
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

/// The text itself with its white space.
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
