// Documents that mean harm, or were harmed: no crash, no hang, memory in proportion, a
// message with its place, and a target that is as it was.

#include "benchmarks/Memory.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "tests/contract/Elements.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/SmallStack.h"
#include "tests/support/StillWorks.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <fstream>
#include <memory>
#include <sstream>

namespace {

using Container = KrScalarMultivariableOptimizerContainer;

std::string const ns = " xmlns='urn:zeibreku:function#'";
std::string const root = "<optimizerContainer" + ns + ">";
std::string const end = "</optimizerContainer>";

std::string times(std::size_t count, std::string const& text) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

// Reads the document piece by piece into an object of the class that its root names,
// which must then work. Null for an unknown root.
std::unique_ptr<KrXmlObject> readByRoot(std::string const& document) {
    std::istringstream stream(document);
    KrXmlReader reader(stream, "<string>");
    reader.setFactory(&everyElement());
    std::unique_ptr<KrXmlObject> object(everyElement().newObjectFromToken(reader.token()));
    if (object) {
        object->read(reader);
        reader.finish();
        EXPECT_EQ(whatFails(*object, reader.errorCount() == 0), "") << document.substr(0, 2000);
    }
    return object;
}

// What is printed when the document is read; "" when it was accepted.
std::string refusal(std::string const& document) {
    Container target;
    target.setTopElement(KrNelderMeadOptimizer());
    Container const before(target);
    CapturedMessages const captured;
    bool const read = KrXml::fromString(document, target);
    EXPECT_EQ(read, captured.messages.empty());
    EXPECT_TRUE(read || target == before);
    std::string const text = captured.text();
    readByRoot(document);
    return text;
}

TEST(HostileInput, IsRefusedAtItsPlace) {
    struct {
        std::string document;
        std::string message;
    } const cases[] = {
        {"<optimizerContainer xmlns='urn:zeibreku:function'/>",
         ":1:1: urn:zeibreku:functionoptimizerContainer: expected element "
         "\"urn:zeibreku:function#optimizerContainer\", found element "
         "\"urn:zeibreku:functionoptimizerContainer\""},
        {"<a:optimizerContainer/>", ":1:1: : expected well-formed XML, found unbound prefix"},
        {root + "<nelderMead xmlns=''/>" + end,
         ":1:52: optimizerContainer/nelderMead: expected a known element, found element "
         "\"nelderMead\""},
        {root + "<nelderMead><a:alpha xmlns:a='urn:other#'>1</a:alpha></nelderMead>" + end,
         ":1:64: optimizerContainer/nelderMead/alpha: expected a known element, found element "
         "\"alpha\""},
        {root + "<a:nelderMead xmlns:a='urn:zeibreku:function#' a:count='1'/>" + end,
         ":1:52: optimizerContainer/nelderMead: expected a known attribute, found attribute "
         "\"count\""},
        {root + "<nelderMead a='1' a='2'/>" + end,
         ":1:70: optimizerContainer: expected well-formed XML, found duplicate attribute"},
        {root + end + end,
         ":1:74: : expected well-formed XML, found not well-formed (invalid token)"},
        {root + "<nelderMead><alpha>&undefined;</alpha></nelderMead>" + end,
         ":1:71: optimizerContainer/nelderMead/alpha: expected well-formed XML, found undefined "
         "entity"},
        {root + "<nelderMead><alpha>1&#0;</alpha></nelderMead>" + end,
         ":1:72: optimizerContainer/nelderMead/alpha: expected well-formed XML, found reference to "
         "invalid character number"},
        {root + "<nelderMead><alpha>&#xFFFFFFFFFF;</alpha></nelderMead>" + end,
         ":1:71: optimizerContainer/nelderMead/alpha: expected well-formed XML, found reference to "
         "invalid character number"},
        {"<!DOCTYPE a SYSTEM 'file:///etc/passwd'>" + root + end,
         ":1:40: : expected no document type declaration, found <!DOCTYPE"},
        {"<!DOCTYPE a PUBLIC '-//A//B' 'http://localhost/a.dtd'>" + root + end,
         ":1:54: : expected no document type declaration, found <!DOCTYPE"},
        {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///dev/zero'> %p;]>" + root + end,
         ":1:13: : expected no document type declaration, found <!DOCTYPE"},
        {"<!DOCTYPE a [<!ENTITY a 'ha'><!ENTITY b '&a;&a;'>]><a>&b;</a>",
         ":1:13: : expected no document type declaration, found <!DOCTYPE"},
        {root + "<!DOCTYPE a>" + end,
         ":1:54: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {root + "<!-- a -- b -->" + end,
         ":1:61: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {root + "<![CDATA[ " + end,
         ":1:62: optimizerContainer: expected elements alone, found text "
         "\"</optimizerContainer>\"\n<string>:1:83: optimizerContainer: expected well-formed XML, "
         "found unclosed CDATA section"},
        {root + "]]>" + end,
         ":1:54: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {root + "<?xml version='1.0'?>" + end,
         ":1:52: optimizerContainer: expected well-formed XML, found XML or text declaration not "
         "at start of entity"},
        {"<?xml version='1.0' encoding='UTF-7'?>" + root + end,
         ":1:31: : expected well-formed XML, found unknown encoding"},
        {"<?xml version='1.0' encoding='UTF-16'?>" + root + end,
         ":1:31: : expected well-formed XML, found encoding specified in XML declaration is "
         "incorrect"},
        {root + std::string("\0", 1) + end,
         ":1:52: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {root + end + std::string("\0", 1),
         ":1:73: : expected well-formed XML, found not well-formed (invalid token)"},
        {root + "\xC0\x80" + end,
         ":1:52: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {root + "\xED\xA0\x80" + end,
         ":1:52: optimizerContainer: expected well-formed XML, found not well-formed (invalid "
         "token)"},
        {std::string("\xFF\xFE\0\0<\0\0\0", 8),
         ":1:2: : expected well-formed XML, found not well-formed (invalid token)"},
        {std::string("\0\0\0<", 4),
         ":1:1: : expected well-formed XML, found not well-formed (invalid token)"},
        {"\xFE\xFF" + root,
         ":1:2: : expected well-formed XML, found not well-formed (invalid token)"},
        {root + "%s%n%d\n<b/>" + end,
         ":1:52: optimizerContainer: expected elements alone, found text \"%s%n%d\""},
        {root + "<nelderMead><alpha>1\n<string>:9:9: %s%n</alpha></nelderMead>" + end,
         ":2:1: optimizerContainer/nelderMead/alpha/string: expected text alone, found element "
         "\"string\"\n<string>:2:21: optimizerContainer/nelderMead/alpha/string: expected "
         "well-formed XML, found mismatched tag"},
        {root + "<nelderMead><alpha>\x1b[2J1\r\n2</alpha></nelderMead>" + end,
         ":1:71: optimizerContainer/nelderMead/alpha: expected well-formed XML, found not "
         "well-formed (invalid token)"},
        {root + "<nelderMead><simplexEdgeLengths count='-1'/></nelderMead>" + end,
         ":1:64: optimizerContainer/nelderMead/simplexEdgeLengths: expected an integer from 0 to "
         "4294967295, found \"-1\""},
        {root + "<nelderMead><simplexEdgeLengths count='4294967296'/></nelderMead>" + end,
         ":1:64: optimizerContainer/nelderMead/simplexEdgeLengths: expected an integer from 0 to "
         "4294967295, found \"4294967296\""},
        {root + "<nelderMead><simplexEdgeLengths count='' size='3'/></nelderMead>" + end,
         ":1:64: optimizerContainer/nelderMead/simplexEdgeLengths: expected an integer, found "
         "\"\"\n<string>:1:64: optimizerContainer/nelderMead/simplexEdgeLengths: expected a known "
         "attribute, found attribute \"size\""},
        {root + "<hookeJeeves><directionsMode>none</directionsMode></hookeJeeves>" + end,
         ":1:65: optimizerContainer/hookeJeeves/directionsMode: expected one of "
         "urn:zeibreku:function#none, urn:zeibreku:function#axisAligned, "
         "urn:zeibreku:function#random, urn:zeibreku:function#rotated, found \"none\""},
        {root + "<optimizerContainer/>" + end,
         ":1:52: optimizerContainer/optimizerContainer: expected a known element, found element "
         "\"optimizerContainer\""},
        {root + "<nelderMead/><nelderMead/><alpha/>" + end,
         ":1:78: optimizerContainer/alpha: expected a known element, found element \"alpha\""},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(refusal(test.document), "<string>" + test.message + "\n") << test.document;
    }
}

// No component takes any of these, as it stands or as an item.
TEST(HostileInput, NoComponentTakesABadValue) {
    int refused = 0;
    for (auto const& [tag, creator] : everyElement().creatorMap()) {
        std::unique_ptr<KrXmlObject> const created(creator());
        auto* const element = dynamic_cast<KrXmlCompoundType*>(created.get());
        if (!element) {
            continue;
        }
        std::string const name(tag.localName());
        auto const expectRefusal = [&](std::string const& attributes, std::string const& content) {
            std::string const document =
                "<" + name + ns + attributes + ">\n" + content + "</" + name + ">";
            CapturedMessages const captured;
            std::unique_ptr<KrXmlObject> const read = readByRoot(document);
            EXPECT_EQ(KrXml::toString(*read), KrXml::toString(*created)) << document;
            ASSERT_FALSE(captured.messages.empty()) << document;
            EXPECT_NE(
                captured.text().find("<string>:" + std::to_string(attributes.empty() + 1) + ":"),
                std::string::npos)
                << document << captured.text();
            ++refused;
        };
        for (char const* const bad : {"1e999", "0x10", "1,5", "-1,", "1 2", "x"}) {
            std::string const value = bad;
            for (auto const& component : element->componentMap()) {
                std::string const part(component.token.localName());
                for (std::string const& content : {value, "<item>" + value + "</item>",
                                                   "<item><first>" + value + "</first></item>"}) {
                    expectRefusal("", "<" + part + ">" + content + "</" + part + ">");
                }
            }
            for (auto const& attribute : element->attributeComponentMap()) {
                expectRefusal(" " + attribute.token.text() + "='" + value + "'", "");
            }
        }
    }
    EXPECT_GT(refused, 1000);
}

TEST(HostileInput, DocumentsMayBeDamagedAtAnyByte) {
    for (char const* const name :
         {"01_minimise/nelder-mead", "02_functions/quadratic", "02_functions/s-curve",
          "03_compare/sequence", "04_tables/aerodynamics"}) {
        std::ifstream file(ZEIBREKU_SOURCE_DIR "/examples/" + std::string(name) + ".xml");
        std::string const whole{std::istreambuf_iterator<char>(file), {}};
        ASSERT_FALSE(whole.empty()) << name;
        CapturedMessages captured;
        for (std::size_t at = 0; at + 2 < whole.size(); ++at) {
            captured.messages.clear();
            readByRoot(whole.substr(0, at));
            EXPECT_EQ(captured.messages.size(), 1U) << captured.text();
            for (char const damage : {'<', '&', '\0', '\'', '9'}) {
                if (at % 5 == static_cast<unsigned char>(damage) % 5) {
                    std::string damaged = whole;
                    damaged[at] = damage;
                    readByRoot(damaged);
                }
            }
        }
    }
}

// Peak memory while `work` runs beyond what there was before, in MB.
template <class Work>
double growth(Work work) {
    ::malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew
    double const before = Memory::ofProcess().now;
    work();
    return (Memory::ofProcess().peak - before) / (1 << 20);
}

TEST(HostileInput, SizesCostInProportion) {
    std::size_t const large = 20'000'000;
    std::string const name(large, 'n');
    std::string const branch = "<compositeFunctionBranch>";
    std::string const sequence = "<sequenceOptimizer><optimizerSequence>";
    auto const inContainer = [](std::string const& text) { return root + text + end; };
    auto const inAlpha = [&](std::string const& text) {
        return inContainer("<nelderMead><alpha>" + text + "</alpha></nelderMead>");
    };
    auto const inReals = [&](std::string const& text) {
        return inContainer("<nelderMead><simplexEdgeLengths count='9'>" + text +
                           "</simplexEdgeLengths></nelderMead>");
    };
    std::string attributes;
    for (int i = 0; i < 100'000; ++i) {
        attributes += " a" + std::to_string(i) + "='1'";
    }
    struct {
        char const* what;
        std::string document;
        std::size_t messages;
    } const cases[] = {
        {"element name", inContainer("<" + name + "/>"), 1},
        {"attribute name", inContainer("<nelderMead " + name + "='1'/>"), 1},
        {"attribute value", inContainer("<nelderMead a='" + name + "'/>"), 1},
        {"namespace", inContainer("<nelderMead xmlns='" + name + "'/>"), 1},
        {"unclosed name", root + "<" + name, 1},
        {"digits", inAlpha(std::string(large, '1')), 1},
        {"zeros", inAlpha(std::string(large, '0') + "1"), 0},
        {"blanks", inAlpha(std::string(large, ' ') + "1"), 0},
        {"text", inAlpha(name), 1},
        {"character references", inAlpha(times(large / 4, "&#9;")), 1},
        {"stray text", inContainer(name), 1},
        {"comment", inContainer("<!--" + name + "-->"), 0},
        {"instruction", inContainer("<?a " + name + "?>"), 0},
        {"CDATA", inAlpha("<![CDATA[" + name + "]]>"), 1},
        {"declaration", "<?xml version='1.0' encoding='" + name + "'?>", 1},
        {"document type", "<!DOCTYPE " + name + "[<!ENTITY a 'b'>]>" + root + end, 1},
        {"enumeration",
         inContainer("<hookeJeeves><directionsMode>" + name + "</directionsMode></hookeJeeves>"),
         1},
        {"library name", inContainer("<addLibraries><item>" + name + "</item></addLibraries>"), 1},
        {"attributes", inContainer("<nelderMead" + attributes + "/>"), 100'000},
        {"unknown children", inContainer(times(200'000, "<a/>")), 200'000},
        {"items", inReals(times(200'000, "<item>1</item>")), 1},
        {"bad items", inReals(times(200'000, "<item>x</item>")), 200'000},
        {"children", inContainer(times(200'000, "<hookeJeeves/>")), 0},
        {"list of children",
         inContainer(sequence + times(200'000, "<nelderMead/>") +
                     "</optimizerSequence></sequenceOptimizer>"),
         0},
        {"libraries",
         inContainer("<addLibraries>" + times(200'000, "<item>a</item>") + "</addLibraries>"),
         200'000},
        {"nesting", inContainer(times(100'000, "<a>") + times(100'000, "</a>")), 2},
        {"sequences", inContainer(times(100'000, sequence)), 1},
        {"branches", "<compositeFunctionContainer" + ns + ">" + times(100'000, branch), 1},
    };
    for (auto const& test : cases) {
        std::size_t messages = 0;
        Kr::Print::Sink const before = Kr::Print::instance().setSink([&](Kr::Message const& m) {
            ++messages;
            EXPECT_LT(m.text.size(), 1000U) << test.what;
        });
        double const grown = growth([&] {
            onSmallStack([&] {
                if (test.document[1] == 'c') {
                    KrCompositeFunctionContainer target;
                    KrXml::fromString(test.document, target);
                    EXPECT_EQ(whatFails(target, false), "");
                } else {
                    Container target;
                    EXPECT_EQ(KrXml::fromString(test.document, target), test.messages == 0)
                        << test.what;
                    EXPECT_EQ(whatFails(target, false), "") << test.what;
                }
            });
        });
        Kr::Print::instance().setSink(before);
        EXPECT_EQ(messages, test.messages) << test.what;
        std::printf("%s: %.0f MB\n", test.what, grown);
#ifndef ZEIBREKU_SANITIZED
        EXPECT_LT(grown, 128.0) << test.what;
#endif
    }
}

}  // namespace
