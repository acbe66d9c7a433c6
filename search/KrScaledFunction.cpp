#include "search/KrScaledFunction.h"

KR_SOURCE_VERSION;

KrScaledFunction::~KrScaledFunction() = default;

double KrScaledFunction::evaluate(KrRealVector const& x) const {
    scale(x, point_);
    return f_.evaluate(point_);
}

void KrScaledFunction::evaluateMultiple(std::vector<KrRealVector> const& points,
                                        KrRealVector& values) const {
    points_.resize(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        scale(points[i], points_[i]);
    }
    f_.evaluateMultiple(points_, values);
}

void KrScaledFunction::scale(KrRealVector const& x, KrRealVector& physical) const {
    physical.resize(x.size());
    for (std::size_t i = 0; i < x.size(); ++i) {
        physical[i] = i < scales_.size() ? x[i] * scales_[i] : x[i];
    }
}
