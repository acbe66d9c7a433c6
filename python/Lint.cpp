#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/tools/KrLint.h"
#include "python/Calls.h"
#include "python/Element.h"
#include "python/Module.h"
#include "python/Values.h"
#include "search/KrSearchCreators.h"

#include <pybind11/stl.h>

#include <optional>
#include <sstream>
#include <utility>

namespace py = pybind11;

namespace {

std::string severityText(KrLintFinding::Severity severity) {
    return severity == KrLintFinding::Severity::Error ? "error" : "warning";
}

// A text of a document, of which a part may be no UTF-8.
py::str textOf(std::string const& text) {
    PyObject* const decoded =
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace");
    return decoded ? py::reinterpret_steal<py::str>(decoded) : throw py::error_already_set();
}

KrLint lintOf(std::vector<std::string> const& disabled,
              std::optional<std::pair<py::object, py::object>> const& correlation) {
    MessageCollector const messages;
    KrLint lint;
    for (std::string const& rule : disabled) {
        lint.disable(rule);
    }
    if (correlation) {
        KrXmlBasicType<KrU32> count;
        KrXmlBasicType<double> spacing;
        componentFromPython(count, correlation->first, "correlation[0]");
        componentFromPython(spacing, correlation->second, "correlation[1]");
        if (!lint.checkAsCorrelation(count, spacing)) {
            throwValue("correlation",
                       "expected 2 to 2000 distances and a positive, finite spacing, got (" +
                           std::string(py::str(correlation->first)) + ", " +
                           std::string(py::str(correlation->second)) + ")");
        }
    }
    return lint;
}

// Reads and lints a document by `read`. Returns the findings, None if the document was refused, and
// the texts of what was printed then.
template <class Read>
py::tuple findingsOf(Read const& read) {
    std::vector<KrLintFinding> findings;
    py::list texts;
    bool isRead = false;
    {
        MessageCollector messages;
        {
            GilRelease const release;
            isRead = read(findings) != nullptr;
        }
        if (isRead) {
            messages.pass();
        } else {
            texts = messages.texts();
        }
    }
    py::list found;
    for (KrLintFinding const& finding : findings) {
        found.append(py::make_tuple(finding.rule, severityText(finding.severity),
                                    textOf(finding.sentence), py::bytes(finding.file), finding.line,
                                    finding.column, textOf(finding.path)));
    }
    return py::make_tuple(isRead ? py::object(found) : py::none(), texts);
}

}  // namespace

void bindLint(py::module_& module) {
    module.def("_lint_rules", [] {
        py::list rules;
        for (KrLint::Rule const& rule : KrLint::rules()) {
            rules.append(py::make_tuple(std::string(rule.name), severityText(rule.severity),
                                        std::string(rule.description)));
        }
        return rules;
    });
    module.def(
        "_lint_file",
        [](std::string const& path, std::vector<std::string> const& disabled,
           std::optional<std::pair<py::object, py::object>> const& correlation) {
            KrLint const lint = lintOf(disabled, correlation);
            return findingsOf([&](auto& findings) {
                return lint.readFile(path, KrSearchCreators::factory(), findings);
            });
        },
        py::call_guard<MessageDelivery>());
    module.def(
        "_lint_text",
        [](std::string const& text, std::vector<std::string> const& disabled,
           std::optional<std::pair<py::object, py::object>> const& correlation) {
            KrLint const lint = lintOf(disabled, correlation);
            return findingsOf([&](auto& findings) {
                std::istringstream stream(text);
                KrXmlReader reader(stream, "<string>");
                return lint.read(reader, KrSearchCreators::factory(), findings);
            });
        },
        py::call_guard<MessageDelivery>());
}
