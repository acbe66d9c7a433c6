#include "foundation/xml/KrXml.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
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

namespace fs = std::filesystem;

KrBoolean refuseFile(std::string const& path, std::string const& reason) {
    Kr::Print::instance().write(Kr::PrintType::Error, "%s: %s\n", path, reason);
    return false;
}

std::string lastSystemError() { return std::generic_category().message(errno); }

// Reads the root element, on which the reader stands.
void readRoot(KrXmlReader& reader, KrXmlObject& object) {
    object.setSpecified(true);
    if (!object.read(reader) && reader.errorCount() == 0) {
        // A client's element may have refused without a word.
        reader.refuse("a " + std::string(object.token().localName()) + " that can be read",
                      "another");
    }
}

KrBoolean readDocument(std::istream& stream, std::string const& name, KrXmlObject& object,
                       KrXmlFactory const* factory) {
    KrXmlReader reader(stream, name);
    reader.setFactory(factory);
    if (reader.onElement()) {
        if (reader.token() == object.token()) {
            readRoot(reader, object);
        } else {
            reader.refuse("element " + krXmlQuoted(object.token().text()),
                          "element " + krXmlQuoted(reader.token().text()));
        }
    }
    reader.finish();
    return reader.errorCount() == 0;
}

KrBoolean writeDocument(std::ostream& stream, KrXmlObject const& object) {
    KrXmlWriter writer("", stream);
    if (!krXmlWriteElement(writer, object.token(), object) && writer.good()) {
        // A client's element may have failed without a word.
        writer.refuse("element " + std::string(object.token().localName()));
    }
    return writer.flush();
}

KrBoolean openFile(std::string const& path, std::ifstream& stream) {
    errno = 0;
    stream.open(path, std::ios::binary);
    stream.peek();  // a folder is opened, and fails only here
    return !stream.fail() || refuseFile(path, "cannot be read: " + lastSystemError());
}

// What messages call a document that is no file.
constexpr char stringName[] = "<string>";

// A stream over characters that stay where they are.
struct TextBuffer : std::streambuf {
    explicit TextBuffer(std::string const& text) {
        char* const begin = const_cast<char*>(text.data());  // a get area is never written to
        setg(begin, begin, begin + text.size());
    }
};

// Follows symbolic links to the file that is meant, which need not exist yet.
fs::path followed(fs::path path) {
    std::error_code error;
    for (int links = 0; links < 40 && fs::is_symlink(fs::symlink_status(path, error)); ++links) {
        fs::path const target = fs::read_symlink(path, error);
        path = target.is_absolute() ? target : path.parent_path() / target;
    }
    return path;
}

// Makes a new file in the folder of `path`, with the permissions of a file that a
// program creates; empty, with errno set, on failure.
fs::path createBeside(fs::path const& path) {
    for (unsigned attempt = 0; attempt < 1000; ++attempt) {
        fs::path name = path.parent_path() /
                        (".new-" + std::to_string(::getpid()) + '-' + std::to_string(attempt));
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
bool synchronise(fs::path const& path) {
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

// A write beyond the limit on a file's size ends the process by a signal, unless the
// thread holds it back: then the write fails, with the reason.
class FileSizeSignal {
public:
    FileSizeSignal() {
        sigset_t pending;
        ::sigpending(&pending);
        ours_ = sigismember(&pending, SIGXFSZ) == 0;
        ::sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    ~FileSizeSignal() {
        timespec const now{};
        if (ours_) {
            ::sigtimedwait(&signal_, nullptr, &now);  // there is one at most
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    FileSizeSignal(FileSizeSignal const&) = delete;
    FileSizeSignal& operator=(FileSizeSignal const&) = delete;

private:
    sigset_t signal_;
    sigset_t before_;
    bool ours_;
};

KrBoolean refuseWriting(std::string const& path) {
    return refuseFile(path, "cannot be written: " + lastSystemError());
}

// Puts what `write` has to say into `file`; messages call it `path`.
KrBoolean fillFile(fs::path const& file, std::string const& path,
                   std::function<KrBoolean(std::ostream&)> const& write) {
    errno = 0;
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    bool const opened = stream.is_open();
    bool const written = opened && write(stream);
    if (opened && !written && stream.good()) {
        return refuseFile(path, "not written");  // for the reason that was given already
    }
    stream.close();
    return (written && stream.good()) || refuseWriting(path);
}

}  // namespace

namespace internal {

KrBoolean readFileInto(std::string const& path, KrXmlObject& object, KrXmlFactory const* factory) {
    std::ifstream stream;
    return openFile(path, stream) && readDocument(stream, path, object, factory);
}

KrBoolean readTextInto(std::string const& text, KrXmlObject& object, KrXmlFactory const* factory) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    return readDocument(stream, stringName, object, factory);
}

KrBoolean replaceFile(std::string const& path,
                      std::function<KrBoolean(std::ostream&)> const& write) {
    FileSizeSignal const heldBack;
    std::error_code error;
    fs::file_status const old = fs::status(path, error);
    if (old.type() == fs::file_type::none) {  // such as links in a circle
        return refuseFile(path, "cannot be written: " + error.message());
    }
    if (fs::exists(old) && !fs::is_regular_file(old)) {
        return fillFile(path, path, write);  // a pipe or a device has no content to keep
    }
    fs::path const target = followed(path);
    if (fs::exists(old) && ::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
        return refuseWriting(path);
    }
    fs::path const fresh = createBeside(target);
    if (fresh.empty()) {
        return refuseWriting(path);
    }
    struct Cleanup {
        fs::path const& name;
        ~Cleanup() { ::unlink(name.c_str()); }  // nothing is left of it once it was renamed
    } const cleanup{fresh};
    if (!fillFile(fresh, path, write)) {
        return false;
    }
    if (!synchronise(fresh)) {
        return refuseWriting(path);
    }
    if (fs::exists(old)) {
        fs::permissions(fresh, old.permissions(), error);
    }
    return std::rename(fresh.c_str(), target.c_str()) == 0 || refuseWriting(path);
}

}  // namespace internal

std::unique_ptr<KrXmlObject> read(KrXmlReader& reader, KrXmlFactory const& factory) {
    std::unique_ptr<KrXmlObject> object;
    reader.setFactory(&factory);
    if (reader.onElement()) {
        object.reset(factory.newObjectFromToken(reader.token()));
        if (object) {
            readRoot(reader, *object);
        } else {
            reader.refuseElement([&] {
                std::vector<KrToken> known;
                for (auto const& [token, creator] : factory.creatorMap()) {
                    known.push_back(token);
                }
                return known;
            });
        }
    }
    reader.finish();
    return reader.errorCount() == 0 ? std::move(object) : nullptr;
}

std::unique_ptr<KrXmlObject> readFile(std::string const& path, KrXmlFactory const& factory) {
    std::ifstream stream;
    if (!openFile(path, stream)) {
        return nullptr;
    }
    KrXmlReader reader(stream, path);
    return read(reader, factory);
}

std::unique_ptr<KrXmlObject> fromString(std::string const& text, KrXmlFactory const& factory) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    KrXmlReader reader(stream, stringName);
    return read(reader, factory);
}

KrBoolean writeFile(std::string const& path, KrXmlObject const& object) {
    return internal::replaceFile(
        path, [&](std::ostream& stream) { return writeDocument(stream, object); });
}

std::string toString(KrXmlObject const& object) {
    std::ostringstream stream;
    return writeDocument(stream, object) ? std::move(stream).str() : std::string();
}

std::string schemaToString(KrXmlObject const& object) {
    KrXmlSchema schema(std::string(object.token().namespaceUri()));
    schema.element(object.token(), object);
    return schema.text();
}

std::string schemaToString(KrXmlFactory const& factory) {
    KrXmlSchema schema;
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject const> const object(factory.newObjectFromToken(token));
        if (object) {
            schema.element(token, *object);
        }
    }
    return schema.text();
}

}  // namespace KrXml
