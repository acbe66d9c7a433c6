#include "foundation/xml/KrXml.h"
#include "program/Subcommands.h"
#include "search/KrSearchCreators.h"

int runSchema() {
    std::string const schema = KrXml::schemaToString(KrSearchCreators::factory());
    writeOutput(schema);
    return schema.empty() ? Refused : Done;
}
