// Parses the bytes as the text of each value type. Reads them as a document too, by the reader's
// operations in any order.

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlBasicType.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

void require(bool holds, char const* what) {
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

template <class T>
bool isRead(std::string_view text, T& value) {
    return KrXmlText<T>::parse(text, value) == KrXmlParse::Good;
}

// Checks that a value is written as a text that reads back to the same bits.
template <class T>
T checkText(std::string_view text) {
    T value{};
    T again{};
    KrXmlTextRoom room;
    if (isRead(text, value)) {
        require(isRead(KrXmlText<T>::format(value, room), again), "a written value is not read");
        require(std::memcmp(&value, &again, sizeof value) == 0, "a value came back changed");
    }
    return value;
}

void checkReader(std::string const& text, std::string_view operations) {
    std::istringstream stream(text);
    KrXmlReader reader(stream);
    std::string_view taken;
    for (char const operation : operations) {
        switch (operation & 7) {
            case 0: reader.nextChild(); break;
            case 1:
                if (reader.nextAttribute()) {
                    reader.attributeName();
                    taken = reader.attributeValue();
                }
                break;
            case 2: reader.readText(taken); break;
            case 3: reader.close(reader.depth() / 2); break;
            case 4: reader.refuseAttributes(); break;
            case 5: reader.refuse(reader.path(), krXmlQuoted(taken)); break;
            case 6: reader.close(reader.depth()); break;
            default: reader.onElement();
        }
    }
    bool const good = reader.finish();
    require(good != reader.malformed(), "a document is neither well-formed nor malformed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    [[maybe_unused]] static bool const silent = [] {
        Kr::Print::instance().setSink({});
        return true;
    }();
    std::string const text(reinterpret_cast<char const*>(data), size);
    if (text.empty()) {
        return 0;
    }
    double const number = checkText<double>(text);
    require(!std::isfinite(number) || number == 0.0 || std::strtod(text.c_str(), nullptr) == number,
            "a number is not what the C library reads");
    checkText<KrU32>(text);
    checkText<bool>(text);
    KrXmlBasicType<std::string> back;
    std::string const document = KrXml::toString(KrXmlBasicType<std::string>(text));
    require(document.empty() || (KrXml::fromString(document, back) && back.value() == text),
            "a text came back changed");
    std::size_t const operations = std::min<std::size_t>(size, 1 + (data[0] & 31U));
    checkReader(text.substr(operations), std::string_view(text).substr(0, operations));
    return 0;
}
