#pragma once

#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>

/// Checks documents against a schema by xmllint.
class XmlLint {
public:
    /// A test that needs it is skipped where it is not installed.
    static bool isInstalled() {
        static bool const installed = std::system("xmllint --version 2> /dev/null") == 0;
        return installed;
    }

    explicit XmlLint(std::string const& schema) { std::ofstream(folder_ / "a.xsd") << schema; }

    /// The complaints about a document, empty for a valid one. An invalid schema fails the
    /// test.
    std::string complaints(std::string const& document) const {
        std::ofstream(folder_ / "a.xml") << document;
        std::string const at = "cd '" + folder_.path.string() + "' && ";
        int const status =
            std::system((at + "xmllint --noout --schema a.xsd a.xml 2> said").c_str());
        std::string const said = content(folder_ / "said");
        constexpr int invalid = 3;
        EXPECT_TRUE(status == 0 || WEXITSTATUS(status) == invalid) << said;
        return status == 0 ? "" : said;
    }

private:
    TemporaryFolder folder_;
};
