#include "foundation/xml/KrXml.h"
#include "program/Subcommands.h"
#include "search/KrSearchCreators.h"

#include <cstdio>

int runSchema() {
    std::string const schema = KrXml::schemaToString(KrSearchCreators::factory());
    std::fputs(schema.c_str(), stdout);
    return schema.empty() ? Refused : Done;
}
