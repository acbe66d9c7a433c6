#include "tests/support/XmlLint.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>

bool XmlLint::isInstalled() {
    static bool const installed = std::system("xmllint --version 2> /dev/null") == 0;
    return installed;
}

XmlLint::XmlLint(std::string const& schema) { std::ofstream(folder_.path / "a.xsd") << schema; }

std::string XmlLint::complaints(std::string const& document) const {
    std::ofstream(folder_.path / "a.xml") << document;
    std::string const command =
        "cd '" + folder_.path.string() + "' && xmllint --noout --schema a.xsd a.xml 2>&1";
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    std::string said;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        said += static_cast<char>(c);
    }
    int const status = WEXITSTATUS(::pclose(pipe));
    constexpr int invalid = 3;
    EXPECT_TRUE(status == 0 || status == invalid) << said;
    return status == 0 ? "" : said;
}
