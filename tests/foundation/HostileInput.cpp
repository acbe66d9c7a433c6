// Documents that mean harm, or were harmed: no crash, no hang, memory in proportion, a
// message with its place, and a target that is as it was.

#include "benchmarks/Memory.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
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
    auto const in = [](std::string const& text) { return root + text + end; };
    auto const inAlpha = [&](std::string const& text) {
        return in("<nelderMead><alpha>" + text + "</alpha></nelderMead>");
    };
    auto const inReals = [&](std::string const& attributes) {
        return in("<nelderMead><simplexEdgeLengths" + attributes + "/></nelderMead>");
    };
    std::string const xml = "well-formed XML, found ";
    std::string const token = xml + "not well-formed (invalid token)";
    std::string const noNumber = xml + "reference to invalid character number";
    std::string const noType = "no document type declaration, found <!DOCTYPE";
    std::string const holder = "optimizerContainer";
    std::string const element = holder + "/nelderMead";
    std::string const reals = element + "/simplexEdgeLengths";
    struct {
        std::string document;
        std::string place;
        std::string expected;
    } const cases[] = {
        {"<a:optimizerContainer/>", "1:1: ", xml + "unbound prefix"},
        {"<optimizerContainer xmlns='urn:zeibreku:function'/>",
         "1:1: urn:zeibreku:functionoptimizerContainer",
         "element \"urn:zeibreku:function#optimizerContainer\", found element "
         "\"urn:zeibreku:functionoptimizerContainer\""},
        {in("<nelderMead xmlns=''/>"), "1:52: " + element,
         "a known element, found element \"nelderMead\""},
        {in("<a:nelderMead xmlns:a='urn:zeibreku:function#' a:count='1'/>"), "1:52: " + element,
         "a known attribute, found attribute \"count\""},
        {in("<nelderMead a='1' a='2'/>"), "1:70: " + holder, xml + "duplicate attribute"},
        {in("") + end, "1:74: ", token},
        {inAlpha("&undefined;"), "1:71: " + element + "/alpha", xml + "undefined entity"},
        {inAlpha("1&#0;"), "1:72: " + element + "/alpha", noNumber},
        {inAlpha("&#xFFFFFFFFFF;"), "1:71: " + element + "/alpha", noNumber},
        {"<!DOCTYPE a SYSTEM 'file:///etc/passwd'>" + in(""), "1:40: ", noType},
        {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'file:///dev/zero'> %p;]>" + in(""), "1:13: ", noType},
        {"<!DOCTYPE a [<!ENTITY a 'ha'><!ENTITY b '&a;&a;'>]><a>&b;</a>", "1:13: ", noType},
        {in("<!DOCTYPE a>"), "1:54: " + holder, token},
        {in("<!-- a -- b -->"), "1:61: " + holder, token},
        {in("]]>"), "1:54: " + holder, token},
        {in("<?xml version='1.0'?>"), "1:52: " + holder,
         xml + "XML or text declaration not at start of entity"},
        {"<?xml version='1.0' encoding='UTF-7'?>" + in(""), "1:31: ", xml + "unknown encoding"},
        {"<?xml version='1.0' encoding='UTF-16'?>" + in(""),
         "1:31: ", xml + "encoding specified in XML declaration is incorrect"},
        {in(std::string("\0", 1)), "1:52: " + holder, token},
        {in("") + std::string("\0", 1), "1:73: ", token},
        {in("\xC0\x80"), "1:52: " + holder, token},
        {in("\xED\xA0\x80"), "1:52: " + holder, token},
        {std::string("\xFF\xFE\0\0<\0\0\0", 8), "1:2: ", token},
        {in("%s%n%d"), "1:52: " + holder, "elements alone, found text \"%s%n%d\""},
        {inAlpha("1\n\t&#13;a.xml:9:9: %n"), "1:64: " + element + "/alpha",
         "a number, found \"1\\n\\t\\ra.xml:9:9: %n\""},
        {inAlpha("\x1b[2J"), "1:71: " + element + "/alpha", token},
        // Cut at 60 bytes, or ahead of a character that would be cut in two.
        {inAlpha(std::string(59, 'x') + "\xC3\xA9"), "1:64: " + element + "/alpha",
         "a number, found \"" + std::string(59, 'x') + "...\""},
        {inReals(" count='-1'"), "1:64: " + reals, "an integer from 0 to 4294967295, found \"-1\""},
        {inReals(" count='1' size='3'"), "1:64: " + reals,
         "a known attribute, found attribute \"size\""},
        {in("<hookeJeeves><directionsMode>none</directionsMode></hookeJeeves>"),
         "1:65: " + holder + "/hookeJeeves/directionsMode",
         "one of urn:zeibreku:function#none, urn:zeibreku:function#axisAligned, "
         "urn:zeibreku:function#random, urn:zeibreku:function#rotated, found \"none\""},
        {in("<nelderMead/><nelderMead/><alpha/>"), "1:78: " + holder + "/alpha",
         "a known element, found element \"alpha\""},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(refusal(test.document),
                  "<string>:" + test.place + ": expected " + test.expected + "\n")
            << test.document;
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
        int elements = 0;
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
        {"library name", inContainer("<addLibraries><item>" + name + "</item></addLibraries>"), 0},
        {"attributes", inContainer("<nelderMead" + attributes + "/>"), 100'000},
        {"unknown children", inContainer(times(200'000, "<a/>")), 200'000},
        {"items", inReals(times(200'000, "<item>1</item>")), 0},
        {"bad items", inReals(times(200'000, "<item>x</item>")), 200'000},
        {"children", inContainer(times(200'000, "<hookeJeeves/>")), 0},
        {"list of children",
         inContainer(sequence + times(200'000, "<nelderMead/>") +
                     "</optimizerSequence></sequenceOptimizer>"),
         0, 200'000},
        {"libraries",
         inContainer("<addLibraries>" + times(200'000, "<item>a</item>") + "</addLibraries>"), 0},
        {"nesting", inContainer(times(100'000, "<a>") + times(100'000, "</a>")), 2},
        {"sequences", inContainer(times(100'000, sequence)), 1},
        {"branches", "<compositeFunctionContainer" + ns + ">" + times(100'000, branch), 1},
    };
    for (auto const& test : cases) {
        std::size_t messages = 0;
        Kr::Print::Sink const before = Kr::Print::instance().setSink([&](Kr::Message const& m) {
            messages += m.text.starts_with("<string>:") ? 1 : 0;
            EXPECT_LT(m.text.size(), 10'000U) << test.what;
        });
        double grown = 0.0;
        auto const read = [&](auto target) {
            bool good = false;
            grown = growth([&] { good = KrXml::fromString(test.document, target); });
            EXPECT_EQ(good, test.messages == 0) << test.what;
            EXPECT_EQ(good ? "" : whatFails(target, true), "") << test.what;
        };
        onSmallStack([&] {
            bool const isFunction = test.document.starts_with("<composite");
            isFunction ? read(KrCompositeFunctionContainer()) : read(Container());
        });
        Kr::Print::instance().setSink(before);
        EXPECT_EQ(messages, test.messages) << test.what;
#ifndef ZEIBREKU_SANITIZED
        EXPECT_LT(grown, 128.0 + 0.0025 * test.elements) << test.what;
#endif
    }
}

}  // namespace
