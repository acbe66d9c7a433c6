// Writes the XML Schema of all elements of the library to the file that it is
// given.

#include "foundation/xml/KrXml.h"
#include "function/object/KrCreators.h"

#include <cstdio>
#include <fstream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FILE.xsd\n", argv[0]);
        return 1;
    }
    std::string const schema = KrXml::schemaToString(KrCreators::factory());
    std::ofstream file(argv[1]);
    file << schema;
    file.close();
    return file && !schema.empty() ? 0 : 1;
}
