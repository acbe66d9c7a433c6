#include "search/KrBoundedFunction.h"

#include <cmath>
#include <limits>

KR_SOURCE_VERSION;

KrBoundedFunction::KrBoundedFunction(KrScalarMultivariableFunction const& f, KrRealVector lower,
                                     KrRealVector upper, KrRealVector scales, bool maximise)
    : f_(f), lower_(std::move(lower)), upper_(std::move(upper)), sign_(maximise ? -1.0 : 1.0) {
    for (std::size_t i = 0; i < lower_.size(); ++i) {
        double const width = upper_[i] - lower_[i];
        double const scale = i < scales.size() ? scales[i] : 1.0;
        unit_.push_back(std::isfinite(width) && width > 0.0 ? width : scale);
    }
}

KrBoundedFunction::~KrBoundedFunction() = default;

double KrBoundedFunction::evaluate(KrRealVector const& x) const {
    double const distance = clip(x, point_);
    return penalised(f_.evaluate(point_), distance);
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
        values[i] = penalised(values[i], distances_[i]);
    }
}

double KrBoundedFunction::clip(KrRealVector const& x, KrRealVector& inside) const {
    inside.assign(x.begin(), x.end());
    double distance = 0.0;
    for (std::size_t i = 0; i < x.size() && i < lower_.size(); ++i) {
        if (x[i] >= lower_[i] && x[i] <= upper_[i]) {
            continue;
        }
        if (std::isnan(x[i])) {
            inside[i] =
                std::isfinite(lower_[i]) || !std::isfinite(upper_[i]) ? lower_[i] : upper_[i];
            inside[i] = std::isfinite(inside[i]) ? inside[i] : x[i];
            distance = std::numeric_limits<double>::infinity();
            continue;
        }
        inside[i] = x[i] < lower_[i] ? lower_[i] : upper_[i];
        distance += std::abs(x[i] - inside[i]) / unit_[i];
    }
    return distance;
}

double KrBoundedFunction::penalised(double value, double distance) const {
    return distance > 0.0 ? value + sign_ * (std::abs(value) + 1.0) * distance : value;
}
