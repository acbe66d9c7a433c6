#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlEnumType.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrLinearMultivariableConstraint.h"
#include "tests/support/CapturedMessages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <tuple>

namespace {

using Real = KrXmlBasicType<double>;
using U32 = KrXmlBasicType<KrU32>;
using Text = KrXmlBasicType<std::string>;

std::string item(std::string const& content, std::string const& attributes = "") {
    return "<item xmlns=\"urn:zeibreku:function#\"" + attributes + ">" + content + "</item>";
}

// Reads `content` into a value; the message, "" when it was read.
template <class Value>
std::string refusal(std::string const& content, Value& value, std::string const& attributes = "") {
    CapturedMessages const captured;
    bool const read = KrXml::fromString(item(content, attributes), value);
    EXPECT_EQ(read, captured.messages.empty()) << content;
    return captured.text();
}

template <class T>
void expectRead(std::initializer_list<std::pair<std::string, T>> rows) {
    for (auto const& [text, expected] : rows) {
        KrXmlBasicType<T> value;
        EXPECT_EQ(refusal(text, value), "");
        EXPECT_EQ(value.value(), expected) << text;
    }
}

// Each text is refused for the same reason, and leaves the value as it was.
template <class T>
void expectRefused(std::string const& expected, std::initializer_list<std::string> texts) {
    for (std::string const& text : texts) {
        KrXmlBasicType<T> value(T(1));
        EXPECT_EQ(refusal(text, value),
                  "<string>:1:1: item: expected " + expected + ", found \"" + text + "\"\n");
        EXPECT_EQ(value.value(), T(1));
    }
}

TEST(XmlValues, AreReadWholeOrRefused) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    expectRead<double>({{"0.5", 0.5},
                        {" \n\t+1e3\r\n", 1000.0},
                        {"-.5", -0.5},
                        {"5.", 5.0},
                        {"INF", infinity},
                        {"-INF", -infinity},
                        {"4.9e-324", 5e-324},
                        {"1<!-- not part of it -->2", 12.0}});
    Real nan;
    EXPECT_EQ(refusal(" NaN ", nan), "");
    EXPECT_TRUE(std::isnan(nan));
    expectRefused<double>("a number", {"", " ", "1,5", "0x10", "1 2", "inf", "nan", "infinity",
                                       "Inf", "+-1", "--1", "1e", "1.5.2", "NaN(1)", "-NaN"});
    expectRefused<double>("a number in the range of double", {"1e400", "-1e400", "1e-400"});
    expectRead<KrU32>({{" +4294967295 ", 4294967295U}});
    expectRefused<KrU32>("an integer from 0 to 4294967295",
                         {"4294967296", "-1", "99999999999999999999"});
    expectRefused<KrU32>("an integer", {"", "1.0", "-", "1e3", "0x1", "+-1", "- 1"});
    expectRead<bool>({{"1", true}, {"0", false}, {" true ", true}, {"false", false}});
    expectRefused<bool>("true or false", {"TRUE", ""});
}

TEST(XmlValues, AValueHoldsTextAlone) {
    Real real(7.0);
    EXPECT_EQ(refusal("1<b>2</b>", real),
              "<string>:1:39: item/b: expected text alone, found element \"b\"\n");
    EXPECT_EQ(refusal("1", real, " unit=\"m\""),
              "<string>:1:1: item: expected a known attribute, found attribute \"unit\"\n");
    EXPECT_EQ(real.value(), 7.0);
    // Where a schema is found says nothing of the content.
    EXPECT_EQ(refusal("1", real,
                      " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
                      " xsi:schemaLocation=\"urn:zeibreku:function# a.xsd\""),
              "");
}

TEST(XmlValues, EveryDoubleReadsBackToTheSameBits) {
    KrXmlRealVector reals;
    for (double const value :
         {0.0, -0.0, 0.1, 1e-5, 1e22, 5e-324, 1.7976931348623157e308,
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        reals.pushBack(Real(value));
    }
    std::mt19937_64 engine(3);
    while (reals.size() < 2000) {
        double const value = std::bit_cast<double>(engine());
        if (!std::isnan(value)) {
            reals.pushBack(Real(value));
        }
    }
    KrXmlRealVector back;
    EXPECT_TRUE(KrXml::fromString(KrXml::toString(reals), back));
    auto const bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    EXPECT_TRUE(std::ranges::equal(reals, back, {}, bits, bits));
    EXPECT_NE(KrXml::toString(reals).find("<item>1e-05</item>"), std::string::npos);
}

TEST(XmlValues, StringsReadBackAsTheyAre) {
    std::string const euro = "\xE2\x82\xAC";
    for (std::string const& text : {std::string(), std::string("  blanks \t and\nline ends\r\n\r "),
                                    std::string("]]> & <a b='c'>\""), euro + "\xF0\x9F\x98\x80",
                                    std::string(200'000, 'x') + "\n" + euro}) {
        Text back("before");
        ASSERT_TRUE(KrXml::fromString(KrXml::toString(Text(text)), back));
        EXPECT_EQ(back.value(), text);
    }
    // What XML cannot carry is refused rather than written wrong.
    for (std::string const& text :
         {std::string("a\0b", 3), std::string("\x01"), std::string("\xC3"), std::string("\xC0\x80"),
          std::string("\xE0\x80\x80"), std::string("\xED\xA0\x80"), std::string("\xF5\x80\x80\x80"),
          std::string("\xEF\xBF\xBF")}) {
        CapturedMessages const captured;
        EXPECT_EQ(KrXml::toString(Text(text)), "");
        EXPECT_EQ(captured.text(),
                  "cannot be written: a text that XML cannot carry, in element item\n");
    }
}

TEST(XmlValues, VectorsTakeTheCountForAHint) {
    KrXmlRealVector reals;
    EXPECT_EQ(refusal("<item>1</item> <item>2</item>", reals, " count=\"2\""), "");
    EXPECT_EQ(refusal("<item>1</item>", reals), "");
    EXPECT_EQ(reals.size(), 1U);
    // A wrong count is reported, and costs no memory.
    CapturedMessages captured;
    EXPECT_TRUE(
        KrXml::fromString(item("<item>1</item><item>2</item>", " count=\"4294967295\""), reals));
    ASSERT_EQ(captured.messages.size(), 1U);
    EXPECT_EQ(captured.messages[0].text,
              "KrXmlVectorType Error: array size not equal to attribute value -- 4294967295, "
              "actual -- 2");
    EXPECT_EQ(static_cast<int>(captured.messages[0].type), 3);
    for (auto const& [content, attributes, message] :
         {std::tuple{"<item>1</item>", " count=\"two\"",
                     ":1: item: expected an integer, found \"two\""},
          {"<item>1</item><itm>2</itm>", "",
           ":52: item/itm: expected a known element (item), found element \"itm\": did you mean "
           "\"item\"?"},
          {"<item>1</item><item>x</item>", "", ":52: item/item: expected a number, found \"x\""}}) {
        EXPECT_EQ(refusal(content, reals, attributes), std::string("<string>:1") + message + "\n");
    }
    EXPECT_EQ(reals.size(), 2U);  // as it was
    std::istringstream stream(item("<item>1</item>"));
    KrXmlReader reader(stream);
    EXPECT_TRUE(reals.read(reader));  // a fresh reader stands on the root
    EXPECT_FALSE(reals.read(reader));
    EXPECT_EQ(captured.messages.back().text,
              "KrXmlVectorType Error: XML parser should be in data mode\n");
    EXPECT_EQ(reals.size(), 1U);
}

TEST(XmlValues, VectorsAreMadeOfPlainValues) {
    KrRealVector const values{0.5, -0.0, 1e300};
    auto const reals = KrXmlRealVector::fromValues(values);
    EXPECT_EQ(KrRealVector(reals.begin(), reals.end()), values);
    EXPECT_TRUE(KrXmlRealVector::fromValues({}) == KrXmlRealVector());
    // One value is a list of one; flags are no numbers, and items are taken as they are.
    EXPECT_EQ(KrXmlVectorType<U32>::fromValues({3})[0].value(), 3U);
    EXPECT_TRUE(KrXmlVectorType<KrXmlBasicType<bool>>::fromValues({false, true})[1].value());
    EXPECT_EQ(KrXmlVectorType<Text>::fromValues({"a", "b c"})[1].value(), "b c");
    EXPECT_TRUE(KrXmlVectorType<KrXmlRealVector>::fromValues({reals, {}})[0] == reals);
    // No conversion by the way: a list in braces still means a plain vector.
    static_assert(!std::is_convertible_v<KrRealVector, KrXmlRealVector>);
    static_assert(!std::is_constructible_v<KrXmlRealVector, int>);
    EXPECT_EQ(KrLinearMultivariableConstraint().evaluate({1.0, 2.0}), 0.0);
}

TEST(XmlValues, PairsHaveTwoPartsInAnyOrder) {
    KrXmlPairType<U32, U32> pair;
    EXPECT_EQ(refusal("<second>2</second><first>1</first>", pair), "");
    EXPECT_TRUE(pair.first() == 1U && pair.second() == 2U);
    KrXmlPairType<U32, U32> copy;
    copy.setFirst(U32(1));
    EXPECT_FALSE(copy == pair);
    copy.setSecond(U32(2));
    EXPECT_TRUE(copy == pair);
    ASSERT_TRUE(KrXml::fromString(KrXml::toString(pair), copy));
    EXPECT_TRUE(copy == pair);
    std::string const message =
        "KrXmlPairType Error: file not valid.\n\tFormat not correct.\n\tFile: <string>\n\tLine: 1"
        "\tExpected urn:zeibreku:function#first or urn:zeibreku:function#second";
    for (auto const& [content, refused] :
         {std::pair<char const*, std::string>{
              "<third>3</third>",
              message +
                  "<string>:1:38: item/third: expected a known element (first, second), found "
                  "element \"third\"\n"},
          {"<first>1</first><first>3</first>",
           "<string>:1:54: item/first: expected each component once, found a second "
           "\"first\"\n"}}) {
        EXPECT_EQ(refusal(content, pair), refused);
    }
    // An enumeration has the texts of the one that was set, in each reading.
    KrXmlPairType<U32, KrXmlEnumType<KrU32>> named;
    KrXmlEnumType<KrU32> mode;
    mode.setEnumString(1, "all");
    named.setSecond(mode);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(refusal("<second>all</second>", named), "");
    }
    EXPECT_EQ(named.second().value(), 1U);
}

TEST(XmlValues, EnumerationsWriteTheirTexts) {
    KrXmlEnumType<KrU32> mode(1);
    mode.setEnumString(0, "none");
    mode.setEnumString(1, "every");
    mode.setEnumString(1, "all");
    EXPECT_NE(KrXml::toString(mode).find(">all<"), std::string::npos);
    KrXmlEnumType<KrU32> const other(0);
    mode = other;  // takes the value; the texts are the object's own
    EXPECT_TRUE(mode == other);
    EXPECT_NE(KrXml::toString(mode).find(">none<"), std::string::npos);
    mode = 2U;
    CapturedMessages const captured;
    EXPECT_EQ(KrXml::toString(mode), "");
    EXPECT_EQ(captured.text(), "cannot be written: 2 is none of none, all\n");
}

}  // namespace
