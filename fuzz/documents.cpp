// Reads a document into an object of the class that its root names. The object must still work,
// and the lint reads the same.

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/tools/KrLint.h"
#include "tests/support/StillWorks.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

void require(bool holds, KrXmlObject const& object, std::string const& what) {
    if (!holds) {
        std::fprintf(stderr, "The %s %s\n", object.token().c_str(), what.c_str());
        std::abort();
    }
}

void checkLint(std::string const& text, KrXmlObject const& object, bool isGood) {
    std::istringstream stream(text);
    KrXmlReader reader(stream);
    std::vector<KrLintFinding> findings;
    auto const linted = KrLint().read(reader, everyElement(), findings);
    require(static_cast<bool>(linted) == isGood, object, "is read or linted, but not both");
    require(!linted || KrXml::toString(*linted) == KrXml::toString(object), object,
            "is another one for the lint");
    // A carriage return ends a line too.
    auto const lines =
        1 + std::ranges::count_if(text, [](char c) { return c == '\n' || c == '\r'; });
    for (KrLintFinding const& finding : findings) {
        require(finding.line >= 1 && finding.line <= lines, object, "has a finding elsewhere");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    [[maybe_unused]] static bool const silent = [] {
        Kr::Print::instance().setSink({});
        return true;
    }();
    std::string const text(reinterpret_cast<char const*>(data), size);
    std::istringstream stream(text);
    KrXmlReader reader(stream);
    reader.setFactory(&everyElement());
    std::unique_ptr<KrXmlObject> const object(everyElement().newObjectFromToken(reader.token()));
    if (!object) {
        reader.finish();
        return 0;
    }
    object->read(reader);
    reader.finish();
    bool const isGood = reader.errorCount() == 0;
    checkLint(text, *object, isGood);
    std::string const failure = whatFails(*object, isGood);
    require(failure.empty(), *object, failure);
    return 0;
}
