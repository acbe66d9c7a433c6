// Integrates functions with known integrals by Gauss quadrature and prints the errors, one
// line for each order, for plotting programs:
//
//   06_quadrature                 every order
//   06_quadrature FILE.xml        the order of the file's gaussQuadrature element
//
//   06_quadrature > errors.txt
//
// gnuplot's set logscale xy; plot for [i=2:7] 'errors.txt' using 1:i with lines
// shows how fast each error falls. Errors below 1e-17 print as 1e-17, which a logarithmic
// axis can show.

#include "foundation/xml/KrXml.h"
#include "function/tools/KrGaussQuadrature.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace {

/// A function of the comparison, with its integral over [a, b].
class Integrand : public KrRealRealUnaryFunction {
public:
    using Formula = double (*)(double x);

    Integrand(char const* name, Formula formula, double a, double b, double integral)
        : name_(name), formula_(formula), a_(a), b_(b), integral_(integral) {}

    char const* name() const { return name_; }
    double evaluate(double x) const override { return formula_(x); }

    double errorOf(KrGaussQuadrature const& quadrature) const {
        return std::fabs(quadrature.integrate(*this, a_, b_) - integral_);
    }

private:
    char const* name_;
    Formula formula_;
    double a_, b_;
    double integral_;
};

Integrand const integrands[] = {
    // Smooth: the error falls faster than any power of the order.
    {"exponential", [](double x) { return std::exp(x); }, 0.0, 1.0, std::exp(1.0) - 1.0},
    // Smooth, but with poles close to the interval, at +-i/5.
    {"runge", [](double x) { return 1.0 / (1.0 + 25.0 * x * x); }, -1.0, 1.0, 0.4 * std::atan(5.0)},
    // An oscillation: the error is large up to two nodes per wave.
    {"oscillating", [](double x) { return std::cos(50.0 * x); }, 0.0, 1.0, std::sin(50.0) / 50.0},
    // A kink inside: the error falls with the square of the order.
    {"kink", [](double x) { return std::fabs(x - 0.3); }, 0.0, 1.0, 0.29},
    // A singularity at an end costs little if the function is finite,
    {"root", [](double x) { return std::sqrt(x); }, 0.0, 1.0, 2.0 / 3.0},
    // and much if it is infinite there.
    {"pole", [](double x) { return 1.0 / std::sqrt(x); }, 0.0, 1.0, 2.0},
};

int fail(std::string const& message) {
    std::fprintf(stderr, "06_quadrature: %s\n", message.c_str());
    return 1;
}

bool isSupported(KrGaussQuadrature const& quadrature, KrU32 order) {
    double const* abscissas = nullptr;
    double const* weights = nullptr;
    quadrature.obtainAbscissasAndWeights(order, abscissas, weights);
    return abscissas != nullptr;
}

void printErrors(KrGaussQuadrature const& quadrature) {
    std::printf("%u", quadrature.order());
    for (Integrand const& f : integrands) {
        std::printf(" %.2e", std::max(f.errorOf(quadrature), 1e-17));
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 2) {
        return fail("expected at most one argument, FILE.xml");
    }
    KrGaussQuadrature quadrature;
    if (argc == 2) {
        if (!KrXml::readFile(argv[1], quadrature)) {  // prints faults and positions
            return 1;
        }
        if (!isSupported(quadrature, quadrature.order())) {
            return fail(std::string(argv[1]) + ": there is no rule of order " +
                        std::to_string(quadrature.order()));
        }
    }
    std::printf("# order");
    for (Integrand const& f : integrands) {
        std::printf(" %s", f.name());
    }
    std::printf("\n");
    if (argc == 2) {
        printErrors(quadrature);
        return 0;
    }
    for (KrU32 order = 2; order <= 128; ++order) {
        if (isSupported(quadrature, order)) {
            quadrature.setOrder(order);
            printErrors(quadrature);
        }
    }
    return 0;
}
