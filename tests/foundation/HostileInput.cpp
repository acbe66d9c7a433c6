// Malicious and damaged documents. Reading them neither crashes nor hangs, takes memory in
// proportion, reports the place and leaves the target unchanged.

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlPairType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrTableFunctionInterpolator.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "support/Memory.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"
#include "tests/support/SmallStack.h"
#include "tests/support/StillWorks.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <memory>
#include <sstream>

namespace {

using Container = KrScalarMultivariableOptimizerContainer;

std::string const ns = " xmlns='urn:zeibreku:function#'";
std::string const root = "<optimizerContainer" + ns + ">";
std::string const end = "</optimizerContainer>";

std::string times(int count, std::string const& text) {
    std::string all;
    for (int i = 0; i < count; ++i) {
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
    std::string const noType = "no document type declaration, found <!DOCTYPE";
    std::string const holder = "optimizerContainer";
    std::string const element = holder + "/nelderMead";
    std::string const family =
        " (hookeJeeves, implicitFiltering, multidirectionalSearch, nelderMead, sequenceOptimizer, "
        "...)";
    std::string const reals = element + "/simplexEdgeLengths";
    struct {
        std::string document;
        std::string place;
        std::string expected;
    } const cases[] = {
        {"", "1:1", xml + "the end of the document"},
        {in("") + "<more/>", "1:73", xml + "junk after document element"},
        {in("<nelderMead>\n<alpha>1</beta></nelderMead>"), "2:11: " + element + "/alpha",
         xml + "mismatched tag"},
        {"<a:optimizerContainer/>", "1:1", xml + "unbound prefix"},
        {"<optimizerContainer xmlns='urn:zeibreku:function'/>", "1:1: optimizerContainer",
         "element \"urn:zeibreku:function#optimizerContainer\", found element "
         "\"{urn:zeibreku:function}optimizerContainer\""},
        // The letters of a namespace and a local name are not joined.
        {in("<Mead xmlns='urn:zeibreku:function#nelder'/>"), "1:52: " + holder + "/Mead",
         "a known element" + family + ", found element \"Mead\""},
        {in("<nelderMead>\n<a:b xmlns:a='" + std::string(1001, 'x') + "' a:c=''/></nelderMead>"),
         "2:1: " + element, "a namespace of at most 1000 bytes, found one of 1001"},
        {in("\n  <nelderMeat><alpha>x</alpha></nelderMeat>"), "2:3: " + holder + "/nelderMeat",
         "a known element" + family +
             ", found element \"nelderMeat\": did you mean \"nelderMead\"?"},
        {in("<hookeJeevse/>"), "1:52: " + holder + "/hookeJeevse",
         "a known element" + family +
             ", found element \"hookeJeevse\": did you mean \"hookeJeeves\"?"},
        {in("<hkeJevse/>"), "1:52: " + holder + "/hkeJevse",
         "a known element" + family + ", found element \"hkeJevse\""},
        {in("<sequenceOptimizer><mumberPases>1</mumberPases></sequenceOptimizer>"),
         "1:71: " + holder + "/sequenceOptimizer/mumberPases",
         "a known element (numberPasses, optimizerSequence, executeInParallel), found element "
         "\"mumberPases\": did you mean \"numberPasses\"?"},
        {in("<nelderMead xmlns=''/>"), "1:52: " + element,
         "element \"urn:zeibreku:function#nelderMead\", found element \"nelderMead\""},
        {in("<a:nelderMead xmlns:a='urn:zeibreku:function#' a:count='1'/>"), "1:52: " + element,
         "a known attribute, found attribute \"count\""},
        {in("<nelderMead><alpha>1</alpha><beta>2</beta><alpha>3</alpha></nelderMead>"),
         "1:94: " + element + "/alpha", "each component once, found a second \"alpha\""},
        {"<!DOCTYPE a SYSTEM 'file:///etc/passwd'>" + in(""), "1:40", noType},
        {"<!DOCTYPE a [<!ENTITY a 'ha'><!ENTITY b '&a;&a;'>]><a>&b;</a>", "1:13", noType},
        {"<?xml version='1.0' encoding='UTF-7'?>" + in(""), "1:31", xml + "unknown encoding"},
        {in("") + std::string("\0", 1), "1:73", xml + "not well-formed (invalid token)"},
        {in("%s%n%d"), "1:52: " + holder, "elements alone" + family + ", found text \"%s%n%d\""},
        {inAlpha("1\n\t&#13;a.xml:9:9: %n"), "1:64: " + element + "/alpha",
         "a number, found \"1\\n\\t\\ra.xml:9:9: %n\""},
        {inAlpha("\x7F\xC2\x9B\xE2\x80\xA8\xE2\x80\xAE"), "1:64: " + element + "/alpha",
         "a number, found \"\\u{7f}\\u{9b}\\u{2028}\\u{202e}\""},
        {in("<b:nelderMead xmlns:b='c&#10;a.xml:9:9:'/>"), "1:52: " + element,
         "element \"urn:zeibreku:function#nelderMead\", found element "
         "\"{c\\na.xml:9:9:}nelderMead\""},
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
         "a known element" + family + ", found element \"alpha\""},
        // Every fault is reported, not the first alone.
        {in("<nelderMead a='1'>\n \n  stray <b/><alpha/></nelderMead>"), "1:52: " + element,
         "a known attribute, found attribute \"a\"\n"
         "<string>:3:3: optimizerContainer/nelderMead: expected elements alone (alpha, beta, "
         "gamma, sigma, stoppingThreshold, ...), found text \"stray\"\n"
         "<string>:3:9: optimizerContainer/nelderMead/b: expected a known element (alpha, beta, "
         "gamma, sigma, stoppingThreshold, ...), found element \"b\"\n"
         "<string>:3:13: optimizerContainer/nelderMead/alpha: expected a number, found \"\""},
    };
    for (auto const& test : cases) {
        EXPECT_EQ(refusal(test.document),
                  "<string>:" + test.place + ": expected " + test.expected + "\n")
            << test.document;
    }
}

// Far behind the first chunk, after every kind of line end and characters of 1 to 4 bytes.
TEST(HostileInput, IsRefusedAtItsPlaceInAnyEncoding) {
    auto const place = [](std::string const& document) {
        CapturedMessages const captured;
        KrXmlRealVector vector;
        EXPECT_FALSE(KrXml::fromString(document, vector));
        return captured.text().substr(0, captured.text().find(" expected"));
    };
    for (std::string const lineEnd : {"\n", "\r", "\r\n"}) {
        std::string const head = "<item" + ns + ">" + times(3000, "<item>1</item>" + lineEnd);
        std::string const tail = "--><item>?</item></item>";
        std::string const latin = "<?xml version='1.0' encoding='ISO-8859-1'?>";
        EXPECT_EQ(place(head + "<!--\u00E9\u20AC\U0001D11E" + tail),
                  "<string>:3001:11: item/item:");
        EXPECT_EQ(place(latin + head + "<!--\xE9\xE9\xA9" + tail), "<string>:3001:11: item/item:");
        std::string wide = "\xFF\xFE";
        for (char const c : head + "<!--abc" + tail) {
            wide.append({c, '\0'});
        }
        EXPECT_EQ(place(wide), "<string>:3001:11: item/item:");
    }
}

// An element is written with its defaults.
TEST(HostileInput, WhatIsReadCanBeWritten) {
    std::string const top = "<compositeFunctionContainer" + ns + ">";
    for (auto const& [leaf, levels] : {std::pair{"<tableFunctionInterpolator/>", 2},
                                       {"<tableFunctionInterpolator><independentData>"
                                        "<tableFunctionVectorSearch/></independentData>"
                                        "<dependentData/></tableFunctionInterpolator>",
                                        4},
                                       {"<compositeFunctionBranch/>", 1}}) {
        for (int branches = 250; branches < 256; ++branches) {
            std::string const document = top + times(branches, "<compositeFunctionBranch>") + leaf +
                                         times(branches, "</compositeFunctionBranch>") +
                                         "</compositeFunctionContainer>";
            KrCompositeFunctionContainer target;
            CapturedMessages captured;
            bool const read = KrXml::fromString(document, target);
            EXPECT_EQ(read, 1 + branches + levels <= 256) << leaf << branches;
            EXPECT_EQ(captured.messages.size(), read ? 0U : 1U) << captured.text();
            EXPECT_NE(KrXml::toString(target), "");
        }
    }
    // A table has 64 axes at most.
    CapturedMessages captured;
    for (int const axes : {64, 65}) {
        std::string const document = "<tableFunctionInterpolator" + ns + "><independentData>" +
                                     times(axes, "<tableFunctionVectorSearch/>") +
                                     "</independentData></tableFunctionInterpolator>";
        KrTableFunctionInterpolator table;
        EXPECT_EQ(KrXml::fromString(document, table), axes == 64);
        EXPECT_TRUE(readByRoot(document));
        KrTableFunctionInterpolator::IndependentData data;
        data.resize(static_cast<KrU32>(axes));
        table.setIndependentData(data);
        EXPECT_EQ(KrXml::toString(table).empty(), axes == 65);
    }
    std::string const refused =
        "<string>:1:1: tableFunctionInterpolator: expected at most 64 axes, found 65\n";
    EXPECT_EQ(captured.text(),
              refused + refused + "cannot be written: a table of 65 axes, where readers take 64\n");
    KrXmlPairType<KrXmlBasicType<KrU32>, KrXmlBasicType<KrU32>> pair;
    std::istringstream stream("<item" + ns + "><first>1</first></item>");
    KrXmlReader reader(stream, "a.xml");
    reader.setDepthLimit(1);
    EXPECT_FALSE(pair.read(reader));
    std::istringstream empty("<item" + ns + "/>");
    KrXmlReader other(empty, "a.xml");
    other.setDepthLimit(1);
    EXPECT_FALSE(pair.read(other));
    EXPECT_EQ(captured.messages.back().text,
              "a.xml:1:1: item: expected nesting of at most 1 elements, found no room for the "
              "default of \"first\"\n");
}

TEST(HostileInput, DocumentsMayBeDamagedAtAnyByte) {
    for (char const* const name :
         {"01_minimise/nelder-mead", "02_functions/quadratic", "02_functions/s-curve",
          "03_compare/sequence", "04_tables/aerodynamics"}) {
        std::string const whole =
            content(ZEIBREKU_SOURCE_DIR "/examples/" + std::string(name) + ".xml");
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
    std::string prefixed;
    std::string names;
    for (int i = 0; i < 100'000; ++i) {
        attributes += " a" + std::to_string(i) + "='1'";
        prefixed += i % 50 ? "" : " n:a" + std::to_string(i) + "=''";
        names += i % 5 ? "" : "<n:a" + std::to_string(i) + "/>";
    }
    std::string const space = " xmlns:n='" + std::string(1000, 'n') + "'>";
    struct {
        char const* what;
        std::string document;
        std::size_t messages;
        int elements = 0;
    } const cases[] = {
        {"element name", inContainer("<" + name + "/>"), 1},
        {"attribute name", inContainer("<nelderMead " + name + "='1'/>"), 1},
        {"namespace", inContainer("<nelderMead xmlns='" + name + "'/>"), 1},
        {"namespace of many names", inContainer("<nelderMead" + space + names + "</nelderMead>"),
         20'000},
        {"namespace of many attributes",
         inContainer("<nelderMead xmlns:n='" + name + "'" + prefixed + "/>"), 1},
        {"digits", inAlpha(std::string(large, '1')), 1},
        {"zeros", inAlpha(std::string(large, '0') + "1"), 0},
        {"blanks", inAlpha(std::string(large, ' ') + "1"), 0},
        {"character references", inAlpha(times(5'000'000, "&#9;")), 1},
        {"stray text", inContainer(name), 1},
        {"comment", inContainer("<!--" + name + "-->"), 0},
        {"CDATA", inAlpha("<![CDATA[" + name + "]]>"), 1},
        {"declaration", "<?xml version='1.0' encoding='" + name + "'?>", 1},
        {"document type", "<!DOCTYPE " + name + "[<!ENTITY a 'b'>]>" + root + end, 1},
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
        {"unknown children, deep inside",
         inContainer(times(100, sequence) + "<sequenceOptimizer><optimizerSequence" + space +
                     times(10'000, "<n:a/>") +
                     times(101, "</optimizerSequence></sequenceOptimizer>")),
         10'000},
        {"nesting", inContainer(times(100'000, "<a>") + times(100'000, "</a>")), 2},
        {"sequences", inContainer(times(100'000, sequence)), 1},
        {"branches", "<compositeFunctionContainer" + ns + ">" + times(100'000, branch), 1},
    };
    for (auto const& test : cases) {
        std::size_t messages = 0;
        std::size_t bytes = 0;
        Kr::Print::Sink const before = Kr::Print::instance().setSink([&](Kr::Message const& m) {
            messages += m.text.starts_with("<string>:") ? 1 : 0;
            bytes += m.text.size();
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
        // The first refusals are printed, and one message counts the others.
        EXPECT_EQ(messages, std::min<std::size_t>(test.messages, 1001)) << test.what;
        EXPECT_LE(bytes, 10'000 + 700 * test.messages) << test.what;
#ifndef ZEIBREKU_SANITIZED
        EXPECT_LT(grown, 128.0 + 0.0025 * test.elements) << test.what;
#endif
    }
}

}  // namespace
