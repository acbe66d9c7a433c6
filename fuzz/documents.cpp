// Reads a document into an object of the class that its root names. Whatever came of
// it, the object must go on to work.

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlReader.h"
#include "tests/support/StillWorks.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    [[maybe_unused]] static bool const silent = [] {
        Kr::Print::instance().setSink({});
        return true;
    }();
    std::istringstream stream(std::string(reinterpret_cast<char const*>(data), size));
    KrXmlReader reader(stream);
    reader.setFactory(&everyElement());
    std::unique_ptr<KrXmlObject> const object(everyElement().newObjectFromToken(reader.token()));
    if (!object) {
        reader.finish();
        return 0;
    }
    object->read(reader);
    reader.finish();
    std::string const failure = whatFails(*object, reader.errorCount() == 0);
    if (!failure.empty()) {
        std::fprintf(stderr, "The %s %s\n", object->token().c_str(), failure.c_str());
        std::abort();
    }
    return 0;
}
