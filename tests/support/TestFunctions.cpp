#include "tests/support/TestFunctions.h"

#include "function/multivariable/KrPowellsQuarticFunction.h"

#include <cmath>
#include <limits>
#include <map>

double rosenbrock(KrRealVector const& x, KrU32 n) {
    double sum = 0.0;
    for (KrU32 i = 0; i + 1 < n; ++i) {
        double const a = x[i + 1] - x[i] * x[i];
        double const b = 1.0 - x[i];
        sum += 100.0 * (a * a) + b * b;
    }
    return sum;
}

double sphere(KrRealVector const& x, KrU32 n) {
    double sum = 0.0;
    for (KrU32 i = 0; i < n; ++i) {
        sum += x[i] * x[i];
    }
    return sum;
}

namespace {

double nanBeyond(KrRealVector const& x, KrU32 n) {
    return x[0] > 1.5 ? std::numeric_limits<double>::quiet_NaN() : sphere(x, n);
}

double plateau(KrRealVector const& x, KrU32 n) {
    double sum = 0.0;
    for (KrU32 i = 0; i < n; ++i) {
        double const step = std::floor(4.0 * x[i]);
        sum += step * step;
    }
    return sum;
}

}  // namespace

std::unique_ptr<KrScalarMultivariableFunction> functionByName(std::string const& name) {
    static std::map<std::string, TestFunction::Formula> const formulas{
        {"rosenbrock", rosenbrock},
        {"sphere", sphere},
        {"nan", nanBeyond},
        {"plateau", plateau},
        {"constant", [](KrRealVector const&, KrU32) { return 1.0; }},
        {"linear0", [](KrRealVector const& x, KrU32) { return 2.0 * x[0]; }},
    };
    std::size_t const colon = name.find(':');
    std::string const family = name.substr(0, colon);
    double const parameter = std::stod(name.substr(colon + 1));
    if (family == "powell") {
        auto powell = std::make_unique<KrPowellsQuarticFunction>();
        powell->setMultiplier(parameter);
        return powell;
    }
    auto const formula = formulas.find(family);
    if (formula == formulas.end()) {
        return nullptr;
    }
    return std::make_unique<TestFunction>(static_cast<KrU32>(parameter), formula->second);
}
