// The documents keep up with the library: their samples are read, and the tables of
// the elements hold every component with its default.

#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "function/object/KrCreators.h"
#include "tests/support/CapturedMessages.h"
#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

std::string content(fs::path const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// What stands in blocks fenced as XML.
std::vector<std::string> samples(fs::path const& path) {
    std::string const fence = "\n```";
    std::string const text = content(path);
    std::vector<std::string> found;
    for (std::size_t at = 0; (at = text.find(fence + "xml\n", at)) != std::string::npos;) {
        at += fence.size() + 4;
        found.push_back(text.substr(at, text.find(fence, at) + 1 - at));
    }
    return found;
}

fs::path const source = ZEIBREKU_SOURCE_DIR;

TEST(Documentation, SamplesAreRead) {
    KrXmlFactory const factory = KrCreators::factory();
    XmlLint const lint(KrXml::schemaToString(factory));
    std::string seen;
    std::vector<std::string> found = samples(source / "README.md");
    for (auto const& file : fs::recursive_directory_iterator(source / "docs")) {
        if (file.path().extension() == ".md") {
            for (std::string const& sample : samples(file.path())) {
                found.push_back(sample);
            }
        }
    }
    for (std::string const& sample : found) {
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

TEST(Documentation, TablesHoldEveryComponent) {
    std::string const text = content(source / "docs" / "xml-format.md");
    KrXmlFactory const factory = KrCreators::factory();
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject> const object(creator());
        std::string const heading = "\n### `" + std::string(token.localName()) + "`\n";
        std::size_t at = text.find(heading);
        ASSERT_NE(at, std::string::npos) << heading;
        std::string const section = text.substr(at, text.find("\n### ", at + 1) - at);
        std::size_t row = 0;
        auto* const element = dynamic_cast<KrXmlCompoundType*>(object.get());
        if (!element) {
            EXPECT_NE(section.find("No components"), std::string::npos) << heading;
            continue;
        }
        element->xmlInit();
        for (auto const* const map :
             {&element->componentMap(), &element->attributeComponentMap()}) {
            for (auto const& component : *map) {
                std::string const name =
                    "\n| `" + std::string(component.token.localName()) + "` | ";
                row = section.find(name, row + 1);  // in their order
                ASSERT_NE(row, std::string::npos) << heading << name;
                std::string const line = section.substr(row + 1, section.find('\n', row + 1) - row);
                EXPECT_NE(line.find(" | " + defaultText(*component.object) + " | "),
                          std::string::npos)
                    << line;
            }
        }
    }
}

}  // namespace
