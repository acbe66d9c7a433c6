#include "function/multivariable/KrPowellsQuarticFunction.h"

#include <cmath>
#include <limits>

KR_SOURCE_VERSION;

double KrPowellsQuarticFunction::evaluate(KrRealVector const& x) const {
    if (x.size() < 4) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    double const a = 10.0 * x[1] + x[0];
    double const b = x[2] - x[3];
    double const c = -2.0 * x[2] + x[1];
    double const d = x[0] - x[3];
    return multiplier_ * (a * a + 5.0 * (b * b) + std::pow(c, 4.0) + 10.0 * std::pow(d, 4.0));
}

KrU32 KrPowellsQuarticFunction::domainDim() const { return 4; }
