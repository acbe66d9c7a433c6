// Checks XML files: reads each by its root element, whatever element of the
// library that is, and prints every problem with its place, a line for each. The
// exit status is 1 when there was any.
//
//   07_check FILE.xml...
//   07_check --schema          prints the XML Schema of all elements

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/object/KrCreators.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace {

/// A message's text on one line.
std::string onOneLine(std::string const& text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

/// Refusals tell their place themselves. What has a text of its own, such as the
/// warning that a vector's count is wrong, gets that of the element being read.
std::string withPlace(std::string const& text, KrXmlReader const& reader) {
    if (text.starts_with(reader.fileName() + ':')) {
        return text;
    }
    return reader.fileName() + ':' + std::to_string(reader.line()) + ':' +
           std::to_string(reader.column()) + ": " + reader.path() + ": " + text;
}

bool isGood(std::string const& path, KrXmlFactory const& factory) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::printf("%s: cannot be read: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    KrXmlReader reader(file, path);
    bool good = true;
    auto const previous = Kr::Print::instance().setSink([&](Kr::Message const& message) {
        good = false;
        std::printf("%s\n", withPlace(onOneLine(message.text), reader).c_str());
    });
    auto const object = KrXml::read(reader, factory);
    Kr::Print::instance().setSink(previous);
    if (good) {
        std::printf("%s: good, %s\n", path.c_str(),
                    std::string(object->token().localName()).c_str());
    }
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "07_check: expected FILE.xml... or --schema\n");
        return 1;
    }
    KrXmlFactory const factory = KrCreators::factory();  // a client adds elements of his own
    if (std::strcmp(argv[1], "--schema") == 0) {
        std::string const schema = KrXml::schemaToString(factory);
        std::fputs(schema.c_str(), stdout);
        return schema.empty() ? 1 : 0;
    }
    bool good = true;
    for (int i = 1; i < argc; ++i) {
        good = isGood(argv[i], factory) && good;
    }
    return good ? 0 : 1;
}
