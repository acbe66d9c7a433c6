#include "foundation/xml/internal/KrXmlParts.h"

#include "foundation/xml/KrXmlChildren.h"
#include "foundation/xml/KrXmlWriter.h"

#include <limits>
#include <ostream>
#include <streambuf>

KR_SOURCE_VERSION;

namespace {

struct Nowhere : std::streambuf {
    int_type overflow(int_type character) override { return traits_type::not_eof(character); }
    std::streamsize xsputn(char const*, std::streamsize count) override { return count; }
};

// How many levels of elements `part` occupies with its tag.
std::size_t levelsOf(KrToken const& tag, KrXmlObject const& part) {
    if (part.isBasicType()) {
        return 1;
    }
    Nowhere nowhere;
    std::ostream stream(&nowhere);
    KrXmlWriter writer("", stream);
    writer.setDepthLimit(std::numeric_limits<std::size_t>::max());
    krXmlWriteElement(writer, tag, part);
    return writer.deepest();
}

}  // namespace

KrBoolean krXmlHasRoomFor(KrToken const& tag, KrXmlObject const& part, KrXmlReader& reader) {
    std::size_t const depth = reader.depth();
    std::size_t const limit = reader.depthLimit();
    if (depth <= limit / 2 || depth + levelsOf(tag, part) <= limit) {
        return true;
    }
    return reader.refuse("nesting of at most " + std::to_string(limit) + " elements",
                         "no room for the default of " + krXmlQuoted(tag.localName()));
}
