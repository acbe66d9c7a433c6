#include "foundation/core/KrPrint.h"
#include "foundation/xml/KrXml.h"
#include "foundation/xml/KrXmlText.h"
#include "function/composite/KrCompositeFunctionContainer.h"
#include "function/composite/KrFrozenComposite.h"
#include "function/object/KrMultivariableConstraintContainer.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarFunctionContainer.h"
#include "function/object/KrUnitaryMapContainer.h"
#include "function/tools/KrCsvReader.h"
#include "function/tools/KrGaussQuadrature.h"
#include "program/Subcommands.h"
#include "search/KrSearchCreators.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <iostream>
#include <limits>
#include <optional>
#include <span>

namespace {

// How many points are evaluated at once.
constexpr std::size_t rowsAtOnce = 1024;

// Points, and what is printed behind each. The lists are row-major.
struct Block {
    std::size_t count = 0;  // of the points
    KrRealVector points;
    KrRealVector values;
    KrRealVector gradients;  // of each value in turn; empty if they are not wanted
    std::array<KrBoolean, rowsAtOnce> answered;  // the numbers of other points are not printed

    /// Point number `i` of `n` coordinates.
    auto point(std::size_t i, std::size_t n) const {
        return points.begin() + static_cast<std::ptrdiff_t>(i * n);
    }
};

// What a file holds, as a function of points.
struct Function {
    std::size_t coordinates = 0;  // 0 if a point may have any number
    std::size_t values = 1;
    // Called with every number NaN, and every point answered.
    std::function<void(Block&)> evaluate;
    bool hasGradient = false;
    bool isDirection = false;  // a gradient is a unit vector
};

template <class Scalar>
Function scalarFunction(Scalar const& f) {
    auto const evaluate = [&f](Block& block) {
        for (std::size_t i = 0; i < block.count; ++i) {
            block.values[i] = f.evaluate(block.points[i]);
        }
    };
    return {1, 1, evaluate};
}

// `constraint(i)` returns constraint number i.
template <class Constraint>
Function constraintFunction(std::size_t count, Constraint constraint) {
    auto const evaluate = [count, constraint](Block& block) {
        std::size_t const n = block.count == 0 ? 0 : block.points.size() / block.count;
        auto value = block.values.begin();
        auto gradient = block.gradients.begin();
        KrRealVector point(n);
        for (std::size_t i = 0; i < block.count; ++i) {
            std::copy_n(block.point(i, n), n, point.begin());
            for (std::size_t c = 0; c < count; ++c) {
                *value++ = constraint(c).evaluate(point);
                if (!block.gradients.empty()) {
                    // That of an empty container has no components.
                    KrRealVector const& direction = constraint(c).gradient(point);
                    std::copy(direction.begin(), direction.end(), gradient);
                    gradient += static_cast<std::ptrdiff_t>(n);
                }
            }
        }
    };
    return {0, count, evaluate, true, true};
}

Function compositeFunction(KrCompositeFunctionContainer const& composite) {
    KrFrozenComposite const f(composite);
    auto const evaluate = [f](Block& block) {
        // A table without axes ignores the coordinates.
        auto const points = std::span(block.points).first(block.count * f.domainDim());
        auto const answered = std::span(block.answered).first(block.count);
        block.gradients.empty()
            ? f.evaluateMany(points, block.values, answered)
            : f.evaluateManyWithGradient(points, block.values, block.gradients, answered);
    };
    return {f.domainDim(), f.valueCount(), evaluate, true};
}

// A file, and what it holds as a function.
class FunctionFile {
public:
    /// Reads the file; false, with a message, if it has no values.
    bool read(std::string const& path);
    std::optional<Function> const& function() const { return function_; }
    /// The quadrature rule that the file holds, or null.
    KrGaussQuadrature const* rule() const {
        return dynamic_cast<KrGaussQuadrature const*>(object_.get());
    }

private:
    std::optional<Function> toFunction();

    std::unique_ptr<KrXmlObject> object_;
    KrCompositeFunctionContainer container_;  // of a table on its own
    std::optional<Function> function_;
};

std::optional<Function> FunctionFile::toFunction() {
    KrXmlObject const* const object = object_.get();
    if (auto const* f = dynamic_cast<KrBaseScalarFunction const*>(object)) {
        return scalarFunction(*f);
    }
    if (auto const* f = dynamic_cast<KrScalarFunctionContainer const*>(object)) {
        return scalarFunction(*f);
    }
    if (auto const* f = dynamic_cast<KrBaseUnitaryMap const*>(object)) {
        return scalarFunction(*f);
    }
    if (auto const* f = dynamic_cast<KrUnitaryMapContainer const*>(object)) {
        return scalarFunction(*f);
    }
    if (auto const* f = dynamic_cast<KrBaseMultivariableConstraint const*>(object)) {
        return constraintFunction(
            1, [f](std::size_t) -> auto& { return *f; });
    }
    if (auto const* f = dynamic_cast<KrMultivariableConstraintContainer const*>(object)) {
        return constraintFunction(
            1, [f](std::size_t) -> auto& { return *f; });
    }
    if (auto const* f = dynamic_cast<KrMultivariableConstraintVector const*>(object)) {
        return constraintFunction(
            f->size(), [f](std::size_t c) -> auto& { return (*f)[static_cast<KrU32>(c)]; });
    }
    if (auto const* f = dynamic_cast<KrCompositeFunctionElement const*>(object)) {
        container_.setTopElement(*f);
        return compositeFunction(container_);
    }
    if (auto const* f = dynamic_cast<KrCompositeFunctionContainer const*>(object)) {
        return compositeFunction(*f);
    }
    return std::nullopt;
}

bool FunctionFile::read(std::string const& path) {
    object_ = KrXml::readFile(path, KrSearchCreators::factory());
    if (!object_ || rule()) {
        return object_ != nullptr;
    }
    function_ = toFunction();
    std::string const name(object_->token().localName());
    if (!function_) {
        std::fprintf(stderr,
                     "%s: holds %s, which has no values: expected a function, a map, a table, a "
                     "constraint or a quadrature rule\n",
                     path.c_str(), name.c_str());
    } else if (function_->values == 0) {
        std::fprintf(stderr, "%s: %s is empty\n", path.c_str(), name.c_str());
    }
    return function_ && function_->values > 0;
}

// Collects rows of CSV for standard output.
class CsvWriter {
public:
    void text(std::string const& text) {
        separate();
        if (text.find_first_of(",\"\r\n") == text.npos) {
            rows_ += text;
            return;
        }
        rows_ += '"';
        for (char const c : text) {
            rows_ += c == '"' ? "\"\"" : std::string(1, c);
        }
        rows_ += '"';
    }
    void number(double value) {
        separate();
        rows_ += KrXmlText<double>::format(value, room_);
    }
    void empty() { separate(); }
    void endRow() {
        rows_ += '\n';
        isFirst_ = true;
    }
    void flush() {
        writeOutput(rows_);
        rows_.clear();
    }

private:
    void separate() {
        if (!isFirst_) {
            rows_ += ',';
        }
        isFirst_ = false;
    }

    std::string rows_;
    KrXmlTextRoom room_{};
    bool isFirst_ = true;
};

void printRule(KrGaussQuadrature const& rule, double const* nodes, double const* weights) {
    CsvWriter out;
    out.text("node");
    out.text("weight");
    out.endRow();
    // The tables hold the nodes that are not negative; the rule is symmetric.
    int const half = static_cast<int>(rule.order() / 2);
    int const isOdd = static_cast<int>(rule.order() % 2);
    for (int i = -half; i < half + isOdd; ++i) {
        int const at = i < 0 ? isOdd - i - 1 : i;
        out.number(i < 0 ? -nodes[at] : nodes[at]);
        out.number(weights[at]);
        out.endRow();
    }
    out.flush();
}

int runRule(EvaluateCall const& call, KrGaussQuadrature const& rule) {
    if (!call.points.empty() || call.hasGradient) {
        std::fprintf(stderr,
                     "%s: a quadrature rule has nodes and weights, no points and gradients\n",
                     call.file.c_str());
        return WrongCall;
    }
    double const* nodes = nullptr;
    double const* weights = nullptr;
    rule.obtainAbscissasAndWeights(rule.order(), nodes, weights);
    if (!nodes) {
        std::fprintf(stderr, "%s: a quadrature rule of order %u is not supported\n",
                     call.file.c_str(), rule.order());
        return Refused;
    }
    printRule(rule, nodes, weights);
    return Done;
}

// "x" if it is the only one, else "x1", "x2", ...
std::string numbered(char const* name, std::size_t index, std::size_t count) {
    return count == 1 ? name : name + std::to_string(index + 1);
}

// Evaluates points in blocks and prints rows.
class Evaluation {
public:
    Evaluation(Function const& function, bool hasGradient, KrCsvReader const& reader)
        : function_(function),
          coordinates_(function.coordinates == 0 ? reader.columns() : function.coordinates),
          components_(hasGradient ? function.values * coordinates_ : 0) {
        block_.points.reserve(rowsAtOnce * coordinates_);
        printHeader(reader.names());
    }

    void add(KrRealVector const& point) {
        block_.points.insert(block_.points.end(), point.begin(), point.end());
        if (++block_.count == rowsAtOnce) {
            evaluate();
        }
    }

    /// Evaluates and prints what has been added.
    void finish() {
        evaluate();
        out_.flush();
    }

private:
    void printHeader(std::vector<std::string> const& names) {
        std::size_t const n = coordinates_;
        auto const coordinate = [&](std::size_t i) {
            return i < names.size() ? names[i] : numbered("x", i, n);
        };
        std::string stem = "y";
        auto const value = [&](std::size_t i) {
            return numbered(stem.c_str(), i, function_.values);
        };
        auto const isTaken = [&] {
            for (std::size_t i = 0; i < function_.values; ++i) {
                if (std::find(names.begin(), names.end(), value(i)) != names.end()) {
                    return true;
                }
            }
            return false;
        };
        while (isTaken()) {
            if (stem == "y") {
                stem = "value";
            } else {
                stem += '_';
            }
        }
        for (std::size_t i = 0; i < n; ++i) {
            out_.text(coordinate(i));
        }
        for (std::size_t i = 0; i < function_.values; ++i) {
            out_.text(value(i));
        }
        for (std::size_t k = 0; k < components_; ++k) {
            bool const isDirection = function_.isDirection;
            std::string name = isDirection ? "" : "d";
            name += value(k / n);
            name += isDirection ? " direction " : "/d";
            name += coordinate(k % n);
            out_.text(name);
        }
        out_.endRow();
        out_.flush();
    }

    void evaluate() {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        block_.values.assign(block_.count * function_.values, nan);
        block_.gradients.assign(block_.count * components_, nan);
        block_.answered.fill(true);
        function_.evaluate(block_);
        for (std::size_t row = 0; row < block_.count; ++row) {
            print(block_.points, row, coordinates_, true);
            print(block_.values, row, function_.values, block_.answered[row]);
            print(block_.gradients, row, components_, block_.answered[row]);
            out_.endRow();
        }
        block_.count = 0;
        block_.points.clear();
    }

    // Prints the `count` numbers of a row, or as many empty fields.
    void print(KrRealVector const& numbers, std::size_t row, std::size_t count, bool isAnswered) {
        for (std::size_t i = row * count; i < (row + 1) * count; ++i) {
            isAnswered ? out_.number(numbers[i]) : out_.empty();
        }
    }

    Function const& function_;
    std::size_t coordinates_;
    std::size_t components_;  // of all gradients of a point; 0 if they are not wanted
    Block block_{};
    CsvWriter out_;
};

}  // namespace

int runEvaluate(EvaluateCall const& call) {
    FunctionFile file;
    if (!file.read(call.file)) {
        return Refused;
    }
    if (file.rule()) {
        return runRule(call, *file.rule());
    }
    Function const& function = *file.function();
    if (call.hasGradient && !function.hasGradient) {
        std::fprintf(stderr, "%s: holds a function without gradients\n", call.file.c_str());
        return Refused;
    }
    std::ios::sync_with_stdio(false);  // else each byte of standard input takes a call
    std::ifstream opened;
    if (!call.points.empty()) {
        opened.open(call.points, std::ios::binary);
        if (!opened.is_open()) {
            std::fprintf(stderr, "%s: cannot be read: %s\n", call.points.c_str(),
                         std::strerror(errno));
            return Refused;
        }
    }
    KrCsvReader reader(call.points.empty() ? std::cin : opened,
                       call.points.empty() ? "<standard input>" : call.points);
    reader.setDecimalComma(call.hasDecimalComma);
    reader.setEndsAtRefusal(true);  // a caller that waits for each answer must not wait for it
    bool const hasRows = reader.readHeader();
    if (hasRows && function.coordinates != 0 && reader.columns() != function.coordinates) {
        reader.refuse("points of " + std::to_string(function.coordinates) +
                          (function.coordinates == 1 ? " coordinate" : " coordinates"),
                      "rows of " + std::to_string(reader.columns()));
    }
    if (reader.errorCount() > 0) {
        return Refused;
    }
    Evaluation evaluation(function, call.hasGradient, reader);
    reader.setBeforeRead([&] { evaluation.finish(); });
    KrRealVector point;
    while (hasRows && reader.nextNumbers(point) && std::ferror(stdout) == 0) {
        evaluation.add(point);
    }
    evaluation.finish();
    return reader.errorCount() == 0 ? Done : Refused;
}
