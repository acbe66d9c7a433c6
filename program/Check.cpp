#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "program/Subcommands.h"
#include "search/KrSearchCreators.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

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

}  // namespace

int runCheck(std::vector<std::string> const& files) {
    KrXmlFactory const factory = KrSearchCreators::factory();
    bool good = true;
    for (std::string const& file : files) {
        good = isGood(file, factory) && good;
    }
    return good ? Done : Refused;
}
