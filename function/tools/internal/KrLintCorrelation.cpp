#include "function/tools/internal/KrLintCorrelation.h"

#include "foundation/core/KrExport.h"
#include "function/tools/internal/KrLintRules.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

namespace KrLintRules {

KR_SOURCE_VERSION;

namespace {

// Added to the diagonal of the matrix, as a share of the variance. The matrix of a smooth
// correlation is singular in double precision: of exp(-d²) at 2000 distances 1e-13 is needed.
constexpr double nugget = 1e-9;

// The first row at which the Cholesky factorisation of the correlation matrix has a pivot that is
// not positive, `values.size()` if there is none. Its leading part up to that row has a negative
// eigenvalue.
std::size_t firstIndefinite(KrRealVector const& values) {
    std::size_t const count = values.size();
    std::vector<KrRealVector> factor(count);
    for (std::size_t i = 0; i < count; ++i) {
        factor[i].resize(i + 1);
        for (std::size_t j = 0; j <= i; ++j) {
            double const product = std::inner_product(
                factor[j].begin(), factor[j].begin() + static_cast<std::ptrdiff_t>(j),
                factor[i].begin(), 0.0);
            double const rest = values[i - j] - product + (i == j ? nugget * values[0] : 0.0);
            if (i == j && !(rest > 0.0)) {
                return i;
            }
            factor[i][j] = i == j ? std::sqrt(rest) : rest / factor[j][j];
        }
    }
    return count;
}

std::string at(double distance) { return "at the distance " + shown(distance); }

}  // namespace

std::string correlationFault(KrBaseScalarFunction const& function, KrU32 count, double spacing) {
    KrRealVector values;
    for (KrU32 k = 0; k < count; ++k) {
        values.push_back(function.evaluate(k * spacing));
    }
    double const variance = values[0];
    if (!(variance > 0.0) || !std::isfinite(variance)) {
        return "the value at 0 is " + shown(variance) + ": the variance is positive and finite";
    }
    auto const large =
        std::ranges::find_if_not(values, [&](double value) { return std::abs(value) <= variance; });
    if (large != values.end()) {
        double const distance = static_cast<double>(large - values.begin()) * spacing;
        return "the value is " + shown(*large) + ' ' + at(distance) + ": no magnitude exceeds " +
               shown(variance) + ", the value at 0";
    }
    if (std::size_t const row = firstIndefinite(values); row < count) {
        return "from 0 to " + shown(static_cast<double>(row) * spacing) + " in steps of " +
               shown(spacing) + " the correlation matrix has a negative eigenvalue: " +
               "raise the values before that distance, or use a convex function that falls to 0";
    }
    return "";
}

}  // namespace KrLintRules
