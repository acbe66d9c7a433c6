#pragma once

#include "tests/support/TemporaryFolder.h"

#include <string>

/// Judges documents under a schema by xmllint, which is not ours.
class XmlLint {
public:
    /// A test that needs it is skipped where it is not installed.
    static bool isInstalled();

    explicit XmlLint(std::string const& schema);

    /// What there is to say against the document; nothing when it is valid. A schema
    /// that is none fails the test.
    std::string complaints(std::string const& document) const;

private:
    TemporaryFolder folder_;
};
