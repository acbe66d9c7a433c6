// Minimises a function by an optimizer that is restored from an XML file:
//
//   01_minimise SETTINGS.xml FUNCTION START...
//
//   01_minimise nelder-mead.xml powell 3 -1 0 1
//   01_minimise nelder-mead.xml rosenbrock -1.2 1
//
// While the search runs, the program shows each new best value with the number of
// evaluations: it watches the function, and the library knows nothing of it.

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

/// Stands between the optimizer and a function, and prints a line whenever the
/// best value has fallen to a tenth of the one printed last.
class Watched : public KrScalarMultivariableFunction {
public:
    explicit Watched(KrScalarMultivariableFunction const& f) : f_(f) {}
    double evaluate(KrRealVector const& x) const override {
        double const value = f_.evaluate(x);
        ++evaluations_;
        if (value < best_) {
            best_ = value;
            if (best_ < 0.1 * shown_) {
                shown_ = best_;
                std::printf("%12lu  %g\n", evaluations_, best_);
            }
        }
        return value;
    }
    KrU32 domainDim() const override { return f_.domainDim(); }
    unsigned long evaluations() const { return evaluations_; }

private:
    KrScalarMultivariableFunction const& f_;
    mutable unsigned long evaluations_ = 0;
    mutable double best_ = std::numeric_limits<double>::infinity();
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
    if (argc < 4) {
        return fail("expected SETTINGS.xml FUNCTION START...");
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
        return 1;  // the library has said what is wrong, and where
    }
    if (!optimizer.topElement()) {
        return fail(std::string(argv[1]) + ": holds no optimizer");
    }

    std::printf("%s by %s\n", name.c_str(),
                std::string(optimizer.topElement()->token().localName()).c_str());
    std::printf("%12s  %s\n", "evaluations", "best value");
    Watched const watched(*f);
    KrRealVector point;
    double const value = optimizer.findMinimum(watched, start, point);

    std::printf("\nvalue        %.17g\npoint       ", value);
    for (double const component : point) {
        std::printf(" %.17g", component);
    }
    std::printf("\nevaluations  %lu\n", watched.evaluations());
    return 0;
}
