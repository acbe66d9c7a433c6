// Checks XML files: reads each by its root element, which may be any element of the
// library, and prints one line for each problem, with its position. The exit status is 1 if
// there is a problem, and 2 if the check fails.
//
//   07_check FILE.xml...
//   07_check --schema          prints the XML Schema of all elements

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "search/KrSearchCreators.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <new>
#include <string>

namespace {

/// Returns a message on one line: a blank replaces each line end and the tabs after it.
std::string onOneLine(std::string text) {
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    std::string line;
    for (char const c : text) {
        if (c != '\n' && c != '\t') {
            line += c;
        } else if (!line.ends_with(' ')) {
            line += ' ';
        }
    }
    return line;
}

/// Refusals contain their position. Messages with a fixed text, such as the warning of a wrong
/// count, get that of the element being read.
std::string withPosition(std::string const& text, KrXmlReader const& reader) {
    if (text.starts_with(reader.fileName() + ':')) {
        return text;
    }
    return reader.fileName() + ':' + std::to_string(reader.line()) + ':' +
           std::to_string(reader.column()) + ": " + reader.path() + ": " + text;
}

bool isGood(std::string const& path, KrXmlFactory const& factory) {
    std::ifstream file(path, std::ios::binary);
    file.peek();  // opening a folder succeeds; reading it fails
    if (file.fail()) {
        std::printf("%s: cannot be read: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    KrXmlReader reader(file, path);
    bool good = true;
    auto const previous = Kr::Print::instance().setSink([&](Kr::Message const& message) {
        good = false;
        std::printf("%s\n", onOneLine(withPosition(message.text, reader)).c_str());
    });
    auto const object = KrXml::read(reader, factory);
    Kr::Print::instance().setSink(previous);
    if (good) {
        std::printf("%s: good, %s\n", path.c_str(),
                    std::string(object->token().localName()).c_str());
    }
    return good;
}

/// Returns whether all files, or the schema, are good.
bool areGood(int argc, char** argv) {
    KrXmlFactory const factory = KrSearchCreators::factory();  // register your own elements here
    if (std::strcmp(argv[1], "--schema") == 0) {
        std::string const schema = KrXml::schemaToString(factory);
        std::fputs(schema.c_str(), stdout);
        return !schema.empty();
    }
    bool good = true;
    for (int i = 1; i < argc; ++i) {
        good = isGood(argv[i], factory) && good;
    }
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || (std::strcmp(argv[1], "--schema") == 0 && argc > 2)) {
        std::fprintf(stderr, "07_check: expected FILE.xml... or --schema\n");
        return 2;
    }
    try {
        bool const good = areGood(argc, argv);
        if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
            return good ? 0 : 1;
        }
        std::perror("07_check: standard output");
    } catch (std::bad_alloc const&) {
        std::fprintf(stderr, "07_check: out of memory\n");
    }
    return 2;
}
