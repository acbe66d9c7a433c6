// The documents keep up with the library: their samples are read.

#include "foundation/xml/KrXml.h"
#include "search/KrSearchCreators.h"
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
    KrXmlFactory const factory = KrSearchCreators::factory();
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

}  // namespace
