#include "search/internal/KrSearchSpace.h"

#include "foundation/core/KrExport.h"

#include <limits>
#include <utility>

KR_SOURCE_VERSION;

KrSearchSpace::KrSearchSpace(KrRealVector scales, KrRealVector lower, KrRealVector upper,
                             KrRealVector units)
    : scales_(std::move(scales)),
      lower_(std::move(lower)),
      upper_(std::move(upper)),
      units_(std::move(units)) {
    for (std::size_t i = 0; i < units_.size(); ++i) {
        double const width = upper_[i] - lower_[i];
        units_[i] = std::isfinite(width) && width > 0.0 ? width : units_[i];
    }
}

double KrSearchSpace::enterFromOutside(KrRealVector const& x, KrRealVector& point) const {
    point.assign(x.begin(), x.end());
    double distance = 0.0;
    for (std::size_t i = 0; i < x.size() && i < scales_.size(); ++i) {
        double const scaled = x[i] * scales_[i];
        if (std::isnan(scaled)) {  // infinitely far from one of the bounds
            bool const isLower = std::isfinite(lower_[i]) || !std::isfinite(upper_[i]);
            double const bound = isLower ? lower_[i] : upper_[i];
            point[i] = std::isfinite(bound) ? bound : scaled;
            distance = std::numeric_limits<double>::infinity();
        } else if (scaled < lower_[i] || scaled > upper_[i]) {
            point[i] = scaled < lower_[i] ? lower_[i] : upper_[i];
            distance += std::abs(scaled - point[i]) / units_[i];
        } else {
            point[i] = scaled;
        }
    }
    return distance;
}
