#include "function/tools/KrLint.h"

#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlReader.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/tools/internal/KrLintCorrelation.h"
#include "function/tools/internal/KrLintDocument.h"
#include "function/tools/internal/KrLintRules.h"

#include <cmath>

KR_SOURCE_VERSION;

namespace {

// The scalar function that a document holds, null if it holds none.
KrBaseScalarFunction const* scalarFunction(KrXmlObject const& object) {
    auto const* const container = dynamic_cast<KrScalarFunctionContainer const*>(&object);
    return container ? container->topElement() : dynamic_cast<KrBaseScalarFunction const*>(&object);
}

// Shows the document of a reader to an observer, until the end of its scope: also if a creator
// throws.
class Observation {
public:
    Observation(KrXmlReader& reader, KrXmlObserver& observer) : reader_(reader) {
        reader.setObserver(&observer);
    }
    ~Observation() { reader_.setObserver(nullptr); }
    Observation(Observation const&) = delete;
    Observation& operator=(Observation const&) = delete;

private:
    KrXmlReader& reader_;
};

}  // namespace

std::string KrLintFinding::text() const {
    return file + ':' + std::to_string(line) + ':' + std::to_string(column) + ": " +
           (severity == Severity::Error ? "error: " : "warning: ") +
           (path.empty() ? "" : path + ": ") + sentence + " [" + rule + ']';
}

void KrLintFinding::print() const {
    Kr::Print::instance().write(
        severity == Severity::Error ? Kr::PrintType::Error : Kr::PrintType::Warning, "%s\n",
        text());
}

std::span<KrLint::Rule const> KrLint::rules() { return KrLintRules::rules; }

KrBoolean KrLint::disable(std::string const& rule) {
    if (KrLintRules::ruleOf(rule) == KrLintRules::Rule::Count) {
        Kr::Print::instance().write(Kr::PrintType::Error, "lint: expected a rule, found %s\n",
                                    krXmlQuoted(rule));
        return false;
    }
    disabled_.insert(rule);
    return true;
}

KrBoolean KrLint::checkAsCorrelation(KrU32 count, double spacing) {
    if (count < 2 || count > 2000 || !(spacing > 0.0) || std::isinf(spacing)) {
        Kr::Print::instance().write(
            Kr::PrintType::Error,
            "lint: expected 2 to 2000 distances and a positive spacing, found %u and %g\n", count,
            spacing);
        return false;
    }
    correlation_ = Grid{count, spacing};
    return true;
}

// Calls `read` with the document that the reader shows itself to. It returns the object that was
// read, as a pointer, null if it was refused.
template <class Read>
auto KrLint::lint(std::string const& file, std::vector<KrLintFinding>& findings, Read read) const {
    findings.clear();
    KrLintRules::Document document(file);
    for (std::string const& rule : disabled_) {
        document.disable(KrLintRules::ruleOf(rule));
    }
    auto object = read(document);
    if (object && correlation_) {
        KrBaseScalarFunction const* const function = scalarFunction(*object);
        std::string const fault =
            function ? KrLintRules::correlationFault(*function, correlation_->count,
                                                     correlation_->spacing)
                     : "there is no scalar function: check the file without a correlation";
        if (!fault.empty()) {
            document.reportAtFunction(KrLintRules::Rule::Correlation, fault);
        }
    }
    findings = document.findings();
    return object;
}

KrBoolean KrLint::readFileInto(std::string const& path, KrXmlObject& object,
                               std::vector<KrLintFinding>& findings,
                               KrXmlFactory const* factory) const {
    return lint(path, findings, [&](KrXmlObserver& observer) {
               return KrXml::readFileInto(path, object, factory, &observer) ? &object : nullptr;
           }) != nullptr;
}

KrBoolean KrLint::readTextInto(std::string const& text, KrXmlObject& object,
                               std::vector<KrLintFinding>& findings,
                               KrXmlFactory const* factory) const {
    return lint("<string>", findings, [&](KrXmlObserver& observer) {
               return KrXml::readTextInto(text, object, factory, &observer) ? &object : nullptr;
           }) != nullptr;
}

std::unique_ptr<KrXmlObject> KrLint::read(KrXmlReader& reader, KrXmlFactory const& factory,
                                          std::vector<KrLintFinding>& findings) const {
    return lint(reader.fileName(), findings, [&](KrXmlObserver& observer) {
        Observation const observation(reader, observer);
        return KrXml::read(reader, factory);
    });
}

std::unique_ptr<KrXmlObject> KrLint::readFile(std::string const& path, KrXmlFactory const& factory,
                                              std::vector<KrLintFinding>& findings) const {
    return lint(path, findings,
                [&](KrXmlObserver& observer) { return KrXml::readFile(path, factory, &observer); });
}
