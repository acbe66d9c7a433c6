#include "foundation/xml/KrXml.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlBaseVariableCompoundType.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <streambuf>
#include <system_error>

namespace KrXml {

char const namespaceUri[] = "urn:zeibreku:function#";

namespace {

[[maybe_unused]] constexpr char version[] = "2.0.0";

KrToken const ns(namespaceUri);

}  // namespace

KrToken const KrCountToken("count");
KrToken const KrAddLibrariesToken = ns + "addLibraries";
KrToken const KrItemToken = ns + "item";
KrToken const KrFirstToken = ns + "first";
KrToken const KrSecondToken = ns + "second";

namespace {

KrBoolean refuseFile(std::string const& path, std::string const& reason) {
    Kr::Print::instance().write(Kr::PrintType::Error, "%s: %s\n", path, reason);
    return false;
}

std::string lastSystemError() { return std::generic_category().message(errno); }

KrBoolean readDocument(std::istream& stream, std::string const& name, KrXmlObject& fresh,
                       KrXmlObject const& prototype, KrXmlFactory const* factory) {
    KrXmlReader reader(stream, name);
    reader.setFactory(factory);
    if (reader.onElement()) {
        if (reader.token() == fresh.token()) {
            auto* const holder = dynamic_cast<KrXmlBaseVariableCompoundType*>(&fresh);
            if (holder) {
                // Creators that the client registered with its own object.
                holder->adoptCreators(
                    dynamic_cast<KrXmlBaseVariableCompoundType const&>(prototype));
            }
            // A false result without a message would leave the user without a reason.
            if (!fresh.read(reader) && reader.errorCount() == 0) {
                reader.refuse("a readable " + std::string(fresh.token().localName()),
                              "an unreadable one");
            }
        } else {
            reader.refuse("element " + krXmlQuoted(fresh.token().text()),
                          "element " + krXmlQuoted(reader.token().text()));
        }
    }
    reader.finish();
    return reader.errorCount() == 0;
}

// A stream over characters that stay where they are.
struct TextBuffer : std::streambuf {
    explicit TextBuffer(std::string const& text) {
        char* const begin = const_cast<char*>(text.data());  // a get area is never written to
        setg(begin, begin, begin + text.size());
    }
};

// Makes a new file beside `path`, with the permissions of a file that a program
// creates; empty, with errno set, on failure.
std::string createBeside(std::string const& path) {
    for (unsigned attempt = 0; attempt < 1000; ++attempt) {
        std::string name =
            path + ".new-" + std::to_string(::getpid()) + '-' + std::to_string(attempt);
        int const file = ::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0) {
            ::close(file);
            return name;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return {};
}

// Has what was written reach the disk, so that the name is never moved to a file
// whose content a crash could still lose.
bool synchronise(std::string const& path) {
    int const file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    bool const done = ::fsync(file) == 0;
    int const reason = errno;
    ::close(file);
    errno = reason;
    return done;
}

}  // namespace

KrBoolean readFileInto(std::string const& path, KrXmlObject& fresh, KrXmlObject const& prototype,
                       KrXmlFactory const* factory) {
    errno = 0;
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        return refuseFile(path, "cannot be read: " + lastSystemError());
    }
    return readDocument(stream, path, fresh, prototype, factory);
}

KrBoolean readTextInto(std::string const& text, KrXmlObject& fresh, KrXmlObject const& prototype,
                       KrXmlFactory const* factory) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    return readDocument(stream, "<string>", fresh, prototype, factory);
}

KrBoolean replaceFile(std::string const& path,
                      std::function<KrBoolean(std::ostream&)> const& write) {
    namespace fs = std::filesystem;
    std::error_code error;
    fs::path const resolved = fs::weakly_canonical(path, error);  // through symbolic links
    std::string const target = error ? path : resolved.string();
    fs::file_status const old = fs::status(target, error);
    if (fs::exists(old) && !fs::is_regular_file(old)) {
        return refuseFile(path, "cannot be written: not a regular file");
    }
    std::string const fresh = createBeside(target);
    if (fresh.empty()) {
        return refuseFile(path, "cannot be written: " + lastSystemError());
    }
    struct Cleanup {
        std::string const& name;
        ~Cleanup() { ::unlink(name.c_str()); }  // nothing is left of it once it was renamed
    } const cleanup{fresh};
    {
        std::ofstream stream(fresh, std::ios::binary | std::ios::trunc);
        errno = 0;
        if (!write(stream)) {
            return refuseFile(path, "not written");
        }
        stream.close();
        if (!stream || !synchronise(fresh)) {
            return refuseFile(path, "cannot be written: " + lastSystemError());
        }
    }
    if (fs::exists(old)) {
        fs::permissions(fresh, old.permissions(), error);
    }
    if (std::rename(fresh.c_str(), target.c_str()) != 0) {
        return refuseFile(path, "cannot be written: " + lastSystemError());
    }
    return true;
}

namespace {

KrBoolean writeDocument(std::ostream& stream, KrXmlObject const& object) {
    KrXmlWriter writer("", stream);
    bool const written = krXmlWriteElement(writer, object.token(), object);
    return writer.flush() && written;
}

}  // namespace

KrBoolean writeFile(std::string const& path, KrXmlObject const& object) {
    return replaceFile(path, [&](std::ostream& stream) { return writeDocument(stream, object); });
}

std::string toString(KrXmlObject const& object) {
    std::ostringstream stream;
    return writeDocument(stream, object) ? std::move(stream).str() : std::string();
}

std::string schemaToString(KrXmlObject const& object) {
    return KrXmlSchema().document(object, object.token());
}

}  // namespace KrXml
