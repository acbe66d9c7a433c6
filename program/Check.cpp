#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/tools/KrLint.h"
#include "program/Subcommands.h"
#include "search/KrSearchCreators.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

namespace {

/// Returns a message on one line: a blank replaces each line end and the tabs after it.
std::string onOneLine(std::string text) {
    while (text.ends_with('\n')) {
        text.pop_back();
    }
    std::string line;
    for (char const c : text) {
        if (c != '\n' && c != '\t') {
            line += c;
        } else if (!line.ends_with(' ')) {
            line += ' ';
        }
    }
    return line;
}

/// Refusals contain their position. Messages with a fixed text, such as the warning of a wrong
/// count, get that of the element being read.
std::string withPosition(std::string const& text, KrXmlReader const& reader) {
    if (text.starts_with(reader.fileName() + ':')) {
        return text;
    }
    return reader.fileName() + ':' + std::to_string(reader.line()) + ':' +
           std::to_string(reader.column()) + ": " + reader.path() + ": " + text;
}

/// Returns a message "FILE:LINE:COLUMN: TEXT" with "error: " ahead of the text, as compilers do.
std::string asError(std::string text, std::string const& file) {
    std::size_t const behindPlace = text.find(": ", file.size() + 1);
    return behindPlace == std::string::npos ? text : text.insert(behindPlace + 2, "error: ");
}

/// Checks one file after the other with the same rules.
class Checker {
public:
    explicit Checker(CheckCall const& call)
        : lints_(call.lints), factory_(KrSearchCreators::factory()) {
        for (std::string const& rule : call.disabled) {
            lint_.disable(rule);
        }
        isGood_ = call.as.empty() || lint_.checkAsCorrelation(call.grid, call.spacing);
    }

    /// False if an argument was refused.
    bool isGood() const { return isGood_; }

    /// Prints the faults of a file, or that it is good.
    Status check(std::string const& path) {
        std::ifstream file(path, std::ios::binary);
        file.peek();  // opening a folder succeeds; reading it fails
        if (file.fail()) {
            std::printf("%s%s: cannot be read: %s\n", path.c_str(), lints_ ? ":1:1: error" : "",
                        std::strerror(errno));
            return Refused;
        }
        KrXmlReader reader(file, path);
        bool wasRefused = false;
        auto const previous = Kr::Print::instance().setSink([&](Kr::Message const& message) {
            wasRefused = true;
            std::string const text = withPosition(message.text, reader);
            std::printf("%s\n", onOneLine(lints_ ? asError(text, path) : text).c_str());
        });
        std::vector<KrLintFinding> findings;
        auto const object =
            lints_ ? lint_.read(reader, factory_, findings) : KrXml::read(reader, factory_);
        Kr::Print::instance().setSink(previous);
        for (KrLintFinding const& finding : findings) {
            std::printf("%s\n", finding.text().c_str());
        }
        if (wasRefused || !findings.empty()) {
            return wasRefused ? Refused : Linted;
        }
        std::printf("%s: good, %s\n", path.c_str(),
                    std::string(object->token().localName()).c_str());
        return Done;
    }

private:
    bool lints_;
    bool isGood_ = true;
    KrLint lint_;
    KrXmlFactory factory_;
};

std::string refusalOfSpacing(std::string const& text) {
    double spacing = 0.0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), spacing);
    bool const isGood = error == std::errc() && end == text.data() + text.size() && spacing > 0.0 &&
                        std::isfinite(spacing);
    return isGood ? "" : "expected a positive number, found \"" + text + '"';
}

}  // namespace

void addCheckArguments(CLI::App& check, CheckCall& call) {
    std::vector<std::string> names;
    std::string rules;
    for (KrLint::Rule const& rule : KrLint::rules()) {
        names.emplace_back(rule.name);
        std::string name = "  " + names.back();
        name.resize(std::max<std::size_t>(name.size() + 2, 21), ' ');
        rules += name + std::string(rule.description) + '\n';
    }
    check.add_option("FILE", call.files, "A file of any element of the library")->required();
    CLI::Option* const lint =
        check.add_flag("--lint", call.lints, "Also find what is read but cannot be meant");
    check
        .add_option("--disable", call.disabled, "Leave out a rule, or several with commas between")
        ->option_text("RULE")
        ->needs(lint)
        ->delimiter(',')
        ->take_all()
        ->expected(1)
        ->check(CLI::IsMember(names));
    CLI::Option* const as =
        check.add_option("--as", call.as, "Check that a scalar function is a correlation")
            ->option_text("correlation")
            ->needs(lint)
            ->check(CLI::IsMember({"correlation"}));
    check.add_option("--grid", call.grid, "The number of its distances; 64 if not given")
        ->option_text("N")
        ->needs(as)
        ->check(CLI::Range(2, 2000));
    check.add_option("--spacing", call.spacing, "The spacing of its distances; 1 if not given")
        ->option_text("D")
        ->needs(as)
        ->check(refusalOfSpacing);
    check.footer(
        "The status is 0 when every file is good, 1 when one was refused, 2 for a wrong call, and\n"
        "3 when only --lint has found something.\n"
        "\n"
        "Example:\n"
        "  zeibreku check --lint --disable=linear-steps fit.xml table.xml\n"
        "\n"
        "What each rule demands. <!-- zeibreku-lint: disable=RULE --> in a file silences a rule\n"
        "for the next element:\n" +
        rules);
}

int runCheck(CheckCall const& call) {
    Checker checker(call);
    if (!checker.isGood()) {
        return WrongCall;
    }
    int status = Done;
    for (std::string const& file : call.files) {
        Status const found = checker.check(file);
        // Refusals outweigh findings.
        status = status == Refused || found == Done ? status : found;
    }
    return status;
}
