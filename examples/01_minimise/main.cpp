// Minimises a function by an optimizer read from an XML file:
//
//   01_minimise [--trace] SETTINGS.xml FUNCTION START...
//
//   01_minimise nelder-mead.xml powell 3 -1 0 1
//   01_minimise hooke-jeeves.xml rosenbrock -1.2 1
//   01_minimise --trace nelder-mead.xml rosenbrock -1.2 1 > path.txt
//
// During the search, the program prints each new best value with the number of
// evaluations, by a wrapper around the function. With --trace it prints a line
// "value point" for each evaluation instead, for plotting programs.

#include "foundation/xml/KrXml.h"
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace {

/// Sum over i of 100 (x[i+1] - x[i]²)² + (1 - x[i])², in any number of dimensions
/// from 2 on: a curved valley with its minimum 0 at (1, ..., 1).
class Rosenbrock : public KrScalarMultivariableFunction {
public:
    explicit Rosenbrock(KrU32 dimension) : dimension_(dimension) {}
    double evaluate(KrRealVector const& x) const override {
        double sum = 0.0;
        for (KrU32 i = 0; i + 1 < dimension_; ++i) {
            double const valley = x[i + 1] - x[i] * x[i];
            double const along = 1.0 - x[i];
            sum += 100.0 * valley * valley + along * along;
        }
        return sum;
    }
    KrU32 domainDim() const override { return dimension_; }

private:
    KrU32 dimension_;
};

/// Forwards evaluations to a function, and prints a line if the best value is at most a
/// tenth of the one printed last. In a trace it prints every evaluation.
class Watched : public KrScalarMultivariableFunction {
public:
    Watched(KrScalarMultivariableFunction const& f, bool trace) : f_(f), trace_(trace) {}
    double evaluate(KrRealVector const& x) const override {
        double const value = f_.evaluate(x);
        ++evaluations_;
        if (trace_) {
            std::printf("%.10g", value);
            for (double const component : x) {
                std::printf(" %.10g", component);
            }
            std::printf("\n");
        } else if (value < 0.1 * shown_) {
            shown_ = value;
            std::printf("%12lu  %g\n", evaluations_, value);
        }
        return value;
    }
    KrU32 domainDim() const override { return f_.domainDim(); }
    unsigned long evaluations() const { return evaluations_; }

private:
    KrScalarMultivariableFunction const& f_;
    bool trace_;
    mutable unsigned long evaluations_ = 0;
    mutable double shown_ = std::numeric_limits<double>::infinity();
};

std::unique_ptr<KrScalarMultivariableFunction> functionNamed(std::string const& name,
                                                             KrU32 dimension) {
    if (name == "powell") {
        return std::make_unique<KrPowellsQuarticFunction>();
    }
    if (name == "rosenbrock") {
        return std::make_unique<Rosenbrock>(dimension);
    }
    return nullptr;
}

int fail(std::string const& message) {
    std::fprintf(stderr, "01_minimise: %s\n", message.c_str());
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    bool const trace = argc > 1 && std::strcmp(argv[1], "--trace") == 0;
    if (trace) {
        ++argv;
        --argc;
    }
    if (argc < 4) {
        return fail("expected [--trace] SETTINGS.xml FUNCTION START...");
    }
    KrRealVector start;
    for (int i = 3; i < argc; ++i) {
        char const* const text = argv[i];
        double number = 0.0;
        auto const [end, error] = std::from_chars(text, text + std::strlen(text), number);
        if (error != std::errc() || *end != '\0') {
            return fail("start component " + std::to_string(i - 2) +
                        ": expected a number, found \"" + text + "\"");
        }
        start.push_back(number);
    }
    std::string const name = argv[2];
    auto const f = functionNamed(name, static_cast<KrU32>(start.size()));
    if (!f) {
        return fail("function: expected powell or rosenbrock, found \"" + name + "\"");
    }
    if (start.size() != f->domainDim()) {
        return fail("start: expected " + std::to_string(f->domainDim()) + " components, found " +
                    std::to_string(start.size()));
    }

    KrScalarMultivariableOptimizerContainer optimizer;
    if (!KrXml::readFile(argv[1], optimizer)) {
        return 1;  // the library has printed the fault and its position
    }
    if (!optimizer.topElement()) {
        return fail(std::string(argv[1]) + ": holds no optimizer");
    }

    Watched const watched(*f, trace);
    KrRealVector point;
    if (trace) {
        optimizer.findMinimum(watched, start, point);
        return 0;
    }
    std::printf("%s by %s\n", name.c_str(),
                std::string(optimizer.topElement()->token().localName()).c_str());
    std::printf("%12s  %s\n", "evaluations", "best value");
    double const value = optimizer.findMinimum(watched, start, point);
    std::printf("\nvalue        %.17g\npoint       ", value);
    for (double const component : point) {
        std::printf(" %.17g", component);
    }
    std::printf("\nevaluations  %lu\n", watched.evaluations());
    return 0;
}
