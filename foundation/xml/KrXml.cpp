#include "foundation/xml/KrXml.h"

#include "foundation/core/KrPrint.h"
#include "foundation/core/internal/KrReplaceFile.h"
#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlFactory.h"
#include "foundation/xml/KrXmlReader.h"
#include "foundation/xml/KrXmlSchema.h"
#include "foundation/xml/KrXmlWriter.h"

#include <cerrno>
#include <fstream>
#include <sstream>
#include <streambuf>
#include <system_error>

namespace KrXml {

KR_SOURCE_VERSION;

namespace {

// Reads the root element, on which the reader stands.
void readRoot(KrXmlReader& reader, KrXmlObject& object) {
    object.setSpecified(true);
    if (!object.read(reader) && reader.errorCount() == 0) {
        // A client's element may refuse without a message.
        reader.refuse("a " + std::string(object.token().localName()) + " that can be read",
                      "another");
    }
}

KrBoolean readDocument(std::istream& stream, std::string const& name, KrXmlObject& object,
                       KrXmlFactory const* factory, KrXmlObserver* observer) {
    KrXmlReader reader(stream, name);
    reader.setFactory(factory);
    reader.setObserver(observer);
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
        // A client's element may fail without a message.
        writer.refuse("element " + std::string(object.token().localName()));
    }
    return writer.flush();
}

KrBoolean openFile(std::string const& path, std::ifstream& stream) {
    errno = 0;
    stream.open(path, std::ios::binary);
    stream.peek();  // a folder opens without an error and fails here
    if (stream.fail()) {
        Kr::Print::instance().write(Kr::PrintType::Error, "%s: cannot be read: %s\n", path,
                                    std::generic_category().message(errno));
        return false;
    }
    return true;
}

// The name of a text's document in messages.
constexpr char stringName[] = "<string>";

// A stream buffer over a text, without a copy.
struct TextBuffer : std::streambuf {
    explicit TextBuffer(std::string const& text) {
        char* const begin = const_cast<char*>(text.data());  // a get area is never written to
        setg(begin, begin, begin + text.size());
    }
};

}  // namespace

KrBoolean readFileInto(std::string const& path, KrXmlObject& object, KrXmlFactory const* factory,
                       KrXmlObserver* observer) {
    std::ifstream stream;
    return openFile(path, stream) && readDocument(stream, path, object, factory, observer);
}

KrBoolean readTextInto(std::string const& text, KrXmlObject& object, KrXmlFactory const* factory,
                       KrXmlObserver* observer) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    return readDocument(stream, stringName, object, factory, observer);
}

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

std::unique_ptr<KrXmlObject> readFile(std::string const& path, KrXmlFactory const& factory,
                                      KrXmlObserver* observer) {
    std::ifstream stream;
    if (!openFile(path, stream)) {
        return nullptr;
    }
    KrXmlReader reader(stream, path);
    reader.setObserver(observer);
    return read(reader, factory);
}

std::unique_ptr<KrXmlObject> fromString(std::string const& text, KrXmlFactory const& factory) {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    KrXmlReader reader(stream, stringName);
    return read(reader, factory);
}

KrBoolean writeFile(std::string const& path, KrXmlObject const& object) {
    return krReplaceFile(path, [&](std::ostream& stream) { return writeDocument(stream, object); });
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
    KrXmlSchema schema(factory);
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject const> const object(factory.newObjectFromToken(token));
        if (object) {
            schema.element(token, *object);
        }
    }
    return schema.text();
}

}  // namespace KrXml
