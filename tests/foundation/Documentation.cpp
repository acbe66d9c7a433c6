// The documents keep up with the library: their samples are read, and the tables of
// the elements hold every component with its default.

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "function/object/KrCreators.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/Files.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

fs::path const source = ZEIBREKU_SOURCE_DIR;

// What stands in blocks fenced as XML.
std::vector<std::string> samples() {
    std::string text = content(source / "README.md");
    for (auto const& file : fs::recursive_directory_iterator(source / "docs")) {
        text += file.path().extension() == ".md" ? content(file.path()) : "";
    }
    std::string const fence = "\n```";
    std::vector<std::string> found;
    for (std::size_t at = 0; (at = text.find(fence + "xml\n", at)) != std::string::npos;) {
        at += fence.size() + 4;
        found.push_back(text.substr(at, text.find(fence, at) + 1 - at));
    }
    return found;
}

TEST(Documentation, SamplesAreRead) {
    KrXmlFactory const factory = KrCreators::factory();
    XmlLint const lint(KrXml::schemaToString(factory));
    std::string seen;
    for (std::string const& sample : samples()) {
        CapturedMessages const captured;
        EXPECT_TRUE(KrXml::fromString(sample, factory)) << sample;
        EXPECT_EQ(captured.text(), "") << sample;
        if (XmlLint::isInstalled()) {
            EXPECT_EQ(lint.complaints(sample), "") << sample;
        }
        seen += sample;
    }
    for (auto const& [token, creator] : factory.creatorMap()) {
        EXPECT_NE(seen.find('<' + std::string(token.localName())), std::string::npos) << token;
    }
}

// As the tables give a default: the text of a value, "empty" for what has children.
std::string defaultText(KrXmlObject const& component) {
    if (!component.isBasicType()) {
        return "empty";
    }
    std::string const document = KrXml::toString(component);
    std::size_t const begin = document.find("#\">") + 3;
    return document.substr(begin, document.rfind("</") - begin);
}

TEST(Documentation, TablesHoldTheComponentsInTheirOrderWithTheirDefaults) {
    std::string const text = content(source / "docs" / "xml-format.md");
    std::string const rowStart = "\n| `";
    KrXmlFactory const factory = KrCreators::factory();
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject> const object(creator());
        std::string const heading = "\n### `" + std::string(token.localName()) + "`\n";
        std::size_t const at = text.find(heading);
        ASSERT_NE(at, std::string::npos) << heading;
        std::string const section = text.substr(at, text.find("\n### ", at + 1) - at);
        std::size_t row = 0;
        auto const expectRows = [&](KrXmlComponentMap const& components, bool areAttributes) {
            for (auto const& component : components) {
                row = section.find(rowStart, row + 1);
                ASSERT_NE(row, std::string::npos) << heading << component.token;
                std::string const line = section.substr(row, section.find('\n', row + 1) - row);
                std::string const name =
                    rowStart + std::string(component.token.localName()) + "` | ";
                EXPECT_TRUE(line.starts_with(name)) << line << " is not of " << component.token;
                EXPECT_EQ(line.starts_with(name + "attribute"), areAttributes) << line;
                EXPECT_NE(line.find(" | " + defaultText(*component.object) + " | "),
                          std::string::npos)
                    << line;
            }
        };
        if (auto* const element = dynamic_cast<KrXmlCompoundType*>(object.get())) {
            element->xmlInit();
            expectRows(element->componentMap(), false);
            expectRows(element->attributeComponentMap(), true);
        }
        EXPECT_EQ(section.find(rowStart, row + 1), std::string::npos) << heading;
    }
}

}  // namespace
