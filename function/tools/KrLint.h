#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/xml/KrXmlObject.h"
#include "foundation/xml/KrXmlReplace.h"

#include <concepts>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class KrXmlFactory;
class KrXmlReader;

/// What a rule of `KrLint` has found at one element of a file.
struct KR_EXPORT KrLintFinding {
    /// How bad it is: a `Warning` may be meant, an `Error` cannot be.
    enum class Severity { Warning, Error };

    std::string file;                       ///< as the file was called
    KrU32 line = 1;                         ///< where the element's start tag begins, from 1
    KrU32 column = 1;                       ///< its column, from 1
    std::string path;                       ///< the local names from the root to the element
    std::string rule;                       ///< the name of the rule
    Severity severity = Severity::Warning;  ///< that of the rule
    std::string sentence;                   ///< what is wrong, and what to do

    /// The finding on one line, as compilers print it, without a line end:
    ///
    ///     wing.xml:8:22: error: .../item: 4 follows 8: sort the breakpoints [breakpoints]
    std::string text() const;

    /// Prints `text` through `Kr::Print`.
    void print() const;
};

/// Finds what reads as good in a file and cannot be meant: breakpoints out of order, a table whose
/// length is not that of its grid, an index that is listed twice, a budget that ends a search at
/// once. `KrXml` reads such a file without a message. `rules` lists what is found.
///
///     KrLint lint;
///     std::vector<KrLintFinding> findings;
///     KrCompositeFunctionContainer wing;
///     if (lint.readFile("wing.xml", wing, findings)) {
///         for (KrLintFinding const& finding : findings) {
///             finding.print();
///         }
///     }
///
/// A comment in the file silences rules for the next element and its content:
///
///     <!-- zeibreku-lint: disable=range,budget -->
///     <nelderMead><beta>1.5</beta></nelderMead>
///
/// The rules know the elements of this library and of `KrSearch` by their tags, anywhere in a file.
/// They skip elements of other namespaces. A refusal of the reader is not a finding.
///
/// Cost: reading takes about 1.5 times as long. Memory: 16 bytes for each number of the largest
/// element, and 400 bytes for each constraint of a search.
///
/// At most 1,000 findings of a file are kept. Several threads may use one object at once if none of
/// them changes it.
class KR_EXPORT KrLint {
public:
    /// A rule.
    struct Rule {
        std::string_view name;             ///< lower-case words joined by hyphens
        KrLintFinding::Severity severity;  ///< of all its findings
        std::string_view description;      ///< one sentence: what holds in a good file
    };

    /// All rules, in the order of the documentation.
    static std::span<Rule const> rules();

    /// Silences a rule. False, with a message, if there is no rule of this name.
    KrBoolean disable(std::string const& rule);

    /// Lets `readFile` check the scalar function of a file as the correlation of a random field on
    /// `count` distances 0, `spacing`, 2 `spacing`, ...: its value at 0 is positive, no magnitude
    /// exceeds that value, and the correlation matrix has no negative eigenvalue below -1e-9 of
    /// it. For a field of r rows and c columns, `count` is the diagonal sqrt(r² + c²).
    ///
    /// False, with a message, unless 2 <= count <= 2000 and 0 < spacing < INF. Cost: count³/6
    /// multiplications for each file.
    KrBoolean checkAsCorrelation(KrU32 count, double spacing);

    /// Reads a whole document into `object` as `KrXml::readFile` does, and sets `findings` to what
    /// the rules have found. The result is that of reading: true with findings too. If it is
    /// false, `findings` may lack some.
    template <std::derived_from<KrXmlObject> T>
    KrBoolean readFile(std::string const& path, T& object, std::vector<KrLintFinding>& findings,
                       KrXmlFactory const* factory = nullptr) const {
        return KrXml::replaceByNew(object, [&](KrXmlObject& fresh) {
            return readFileInto(path, fresh, findings, factory);
        });
    }

    /// Reads a document from a text in the same way. Messages and findings call it "<string>".
    template <std::derived_from<KrXmlObject> T>
    KrBoolean fromString(std::string const& text, T& object, std::vector<KrLintFinding>& findings,
                         KrXmlFactory const* factory = nullptr) const {
        return KrXml::replaceByNew(object, [&](KrXmlObject& fresh) {
            return readTextInto(text, fresh, findings, factory);
        });
    }

    /// Reads a document of any element, as `KrXml::read` does, through `reader`, which must not
    /// have moved yet.
    std::unique_ptr<KrXmlObject> read(KrXmlReader& reader, KrXmlFactory const& factory,
                                      std::vector<KrLintFinding>& findings) const;

    /// Does the same from a file.
    std::unique_ptr<KrXmlObject> readFile(std::string const& path, KrXmlFactory const& factory,
                                          std::vector<KrLintFinding>& findings) const;

private:
    struct Grid {
        KrU32 count;
        double spacing;
    };

    KrBoolean readFileInto(std::string const& path, KrXmlObject& object,
                           std::vector<KrLintFinding>& findings, KrXmlFactory const* factory) const;
    KrBoolean readTextInto(std::string const& text, KrXmlObject& object,
                           std::vector<KrLintFinding>& findings, KrXmlFactory const* factory) const;
    template <class Read>
    auto lint(std::string const& file, std::vector<KrLintFinding>& findings, Read read) const;

    std::set<std::string, std::less<>> disabled_;
    std::optional<Grid> correlation_;
};
