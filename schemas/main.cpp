// Describes the elements of the library:
//
//   zeibreku_schema                 prints the XML Schema of all of them
//   zeibreku_schema --components    prints a line for each component: its element, its name,
//                                   "attribute" or "element", and its default, separated by
//                                   tabs. The default of a component with children or an empty
//                                   text is "empty".

#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlCompoundType.h"
#include "search/KrSearchCreators.h"

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

std::string textOf(KrToken const& token) { return std::string(token.localName()); }

std::string defaultOf(KrXmlObject const& component) {
    if (!component.isBasicType()) {
        return "empty";
    }
    std::string const document = KrXml::toString(component);
    std::size_t const begin = document.find("#\">") + 3;
    std::string const text = document.substr(begin, document.rfind("</") - begin);
    return text.empty() ? "empty" : text;
}

void printComponents(KrToken const& element, KrXmlComponentMap const& components,
                     char const* kind) {
    for (auto const& component : components) {
        std::printf("%s\t%s\t%s\t%s\n", textOf(element).c_str(), textOf(component.token).c_str(),
                    kind, defaultOf(*component.object).c_str());
    }
}

}  // namespace

int main(int argc, char** argv) {
    KrXmlFactory const factory = KrSearchCreators::factory();
    if (argc == 1) {
        std::string const schema = KrXml::schemaToString(factory);
        std::fputs(schema.c_str(), stdout);
        return schema.empty() ? 1 : 0;
    }
    if (argc != 2 || std::strcmp(argv[1], "--components") != 0) {
        std::fprintf(stderr, "usage: %s [--components]\n", argv[0]);
        return 2;
    }
    for (auto const& [token, creator] : factory.creatorMap()) {
        std::unique_ptr<KrXmlObject> const object(creator());
        if (auto* const element = dynamic_cast<KrXmlCompoundType*>(object.get())) {
            element->xmlInit();
            printComponents(token, element->componentMap(), "element");
            printComponents(token, element->attributeComponentMap(), "attribute");
        }
    }
    return 0;
}
