#include "search/internal/KrPredictor.h"

#include "foundation/core/KrExport.h"

#include <cmath>
#include <limits>
#include <utility>

KR_SOURCE_VERSION;

namespace {

// With mixed terms from 9 variables on, Nelder-Mead gained 4.9 instead of 5.3: within a few hundred
// evaluations there are too few values for so many terms.
constexpr std::size_t mostMixed = 8;

constexpr std::size_t errorsKept = 9;

}  // namespace

KrPredictor::KrPredictor(KrRealVector scales)
    : scales_(std::move(scales)),
      values_(scales_.size()),
      squares_(values_, KrPolynomialFit::Terms::squares),
      spline_(values_),
      mixed_(values_, KrPolynomialFit::Terms::mixedAndCubes),
      models_(scales_.size() <= mostMixed ? 3 : 2),
      known_(scales_.size()) {}

void KrPredictor::Model::addError(double error) {
    if (errors.size() < errorsKept) {
        errors.push_back(error);
    } else {
        errors[next] = error;
        next = (next + 1) % errorsKept;
    }
    std::vector<double> sorted = errors;
    auto const middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    typicalError = *middle;
}

// Whether all coordinates are finite. The point's are then in `point_`.
bool KrPredictor::scale(KrRealVector const& point) {
    if (point.size() != scales_.size()) {
        return false;
    }
    point_.resize(scales_.size());
    for (std::size_t i = 0; i < point_.size(); ++i) {
        point_[i] = point[i] / scales_[i];
        if (!std::isfinite(point_[i])) {
            return false;
        }
    }
    return true;
}

void KrPredictor::add(KrRealVector const& point, double value) {
    if (!std::isfinite(value) || !scale(point)) {
        return;
    }
    if (Predictions const* const predictions = known_.find(point_)) {
        for (std::size_t i = 0; i < models_.size(); ++i) {
            models_[i].addError(std::abs((*predictions)[i + 1] - value));
        }
    }
    values_.add(point_, value);
    isOld_ = true;
}

double KrPredictor::at(KrRealVector const& point, std::size_t opinion) {
    if (values_.size() == 0) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (!scale(point)) {
        return values_.highest();
    }
    if (isOld_) {
        isOld_ = false;
        known_ = KrPointTable<Predictions>(scales_.size());
        spline_.fit(point_.data());
    }
    if (Predictions const* const predictions = known_.find(point_)) {
        return (*predictions)[opinion];
    }
    Predictions const predictions = predict();
    known_.insert(point_, predictions);
    return predictions[opinion];
}

KrPredictor::Predictions KrPredictor::predict() {
    Predictions all = {0.0, squares_.at(point_.data()), spline_.at(point_.data())};
    if (models_.size() == 3) {
        all[3] = mixed_.at(point_.data());
    }
    double smallest = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < models_.size(); ++i) {
        double& prediction = all[i + 1];
        if (std::isnan(prediction)) {
            prediction = values_.value(values_.nearest(point_.data(), 1).front().index);
        }
        prediction = std::clamp(prediction, values_.lowest(), values_.highest());
        smallest = std::min(smallest, models_[i].typicalError);
    }
    double sum = 0.0;
    double weights = 0.0;
    for (std::size_t i = 0; i < models_.size(); ++i) {
        // The fourth power of the ratio; with the second, the mean alone gains 2 % less.
        double const error = models_[i].typicalError;
        double const ratio = error > smallest ? smallest / error : 1.0;
        double const weight = ratio * ratio * ratio * ratio;
        sum += weight * (all[i + 1] - all[1]);
        weights += weight;
    }
    double const mean = all[1] + sum / weights;
    all[0] = std::isfinite(mean) ? mean : all[1];
    return all;
}
