#include "function/multivariable/KrScalarMultivariableFunction.h"

KR_SOURCE_VERSION;

KrScalarMultivariableFunction::~KrScalarMultivariableFunction() = default;

void KrScalarMultivariableFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                                     KrRealVector& values) const {
    auto const count = static_cast<KrU32>(points.size());
    values.resize(count);
    for (KrU32 i = 0; i < count; ++i) {
        values[i] = evaluate(points[i]);
    }
}
