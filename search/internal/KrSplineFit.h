#pragma once

#include "search/internal/KrLatestValues.h"

#include <cstddef>
#include <vector>

/// A surface through the values around a point: a quadratic and a quintic spline of the distances,
/// fitted together as the most probable function (kriging). One fit serves many points.
///
/// It sees mixed terms in fewer values than a polynomial with all of them needs. In 8 to 10
/// variables it predicts smooth functions best.
class KrSplineFit {
public:
    /// `values` must outlive the fit.
    explicit KrSplineFit(KrLatestValues const& values) : values_(values) {}

    /// Fits the values nearest to a point.
    void fit(double const* point);
    /// The surface's value at a point; NaN if there is no fit.
    double at(double const* point) const;

private:
    KrLatestValues const& values_;
    std::vector<double> centre_;  // the point with the lowest value
    double base_ = 0.0;           // which is this one
    double radius_ = 1.0;
    double unit_ = 1.0;           // of values
    std::vector<double> points_;  // of the fit, from the centre, in radii
    std::vector<double> lengths_;
    std::vector<double> coefficients_;
};
