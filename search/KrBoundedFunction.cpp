#include "search/KrBoundedFunction.h"

#include "search/internal/KrSearchSpace.h"

#include <utility>

KR_SOURCE_VERSION;

KrBoundedFunction::KrBoundedFunction(KrScalarMultivariableFunction const& f, KrRealVector lower,
                                     KrRealVector upper, KrRealVector scales, bool maximise)
    : f_(f), sign_(maximise ? -1.0 : 1.0) {
    scales.resize(lower.size(), 1.0);
    space_ = std::make_unique<KrSearchSpace>(KrRealVector(lower.size(), 1.0), std::move(lower),
                                             std::move(upper), std::move(scales));
}

KrBoundedFunction::~KrBoundedFunction() = default;

double KrBoundedFunction::evaluate(KrRealVector const& x) const {
    double const distance = clip(x, point_);
    return krPenalised(f_.evaluate(point_), distance, sign_);
}

void KrBoundedFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                         KrRealVector& values) const {
    points_.resize(points.size());
    distances_.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        distances_[i] = clip(points[i], points_[i]);
    }
    f_.evaluateMultiple(points_, values);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = krPenalised(values[i], distances_[i], sign_);
    }
}

double KrBoundedFunction::clip(KrRealVector const& x, KrRealVector& inside) const {
    return space_->enter(x, inside);
}
