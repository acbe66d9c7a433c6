#include "function/scalar/KrMultipointScalarFunction.h"

#include <algorithm>

KR_SOURCE_VERSION;

double KrMultipointScalarFunction::evaluate(double const& x) const {
    KrXmlRealVector const& range = rangeValues();
    KrXmlRealVector const& domain = domainValues();
    KrU32 const count = std::min(range.size(), domain.size());
    if (count < 2) {
        return range.size() == 0 ? 0.0 : range[0].value();
    }
    KrU32 i = 0;
    // A NaN stops the scan, as x or as an abscissa: its order relative to x is unknown.
    while (i < count && x > domain[i]) {
        ++i;
    }
    bool const below = i == 0;
    bool const above = i == count;
    KrU32 const b = below ? 1 : above ? count - 1 : i;
    KrU32 const a = b - 1;
    double const xa = domain[a];
    double const xb = domain[b];
    if (xa == xb) {
        return below || above ? range[b] : range[a];
    }
    return ((xa - x) * range[b] + (x - xb) * range[a]) / (xa - xb);
}

void KrMultipointScalarFunction::registerComponents() {
    registerComponent(KrFunction::KrRangeValuesToken, &rangeValues_);
    registerComponent(KrFunction::KrDomainValuesToken, &domainValues_);
}
