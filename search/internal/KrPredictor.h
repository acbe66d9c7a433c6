#pragma once

#include "foundation/core/KrTypes.h"
#include "search/internal/KrLatestValues.h"
#include "search/internal/KrPointTable.h"
#include "search/internal/KrPolynomialFit.h"
#include "search/internal/KrSplineFit.h"

#include <array>
#include <cstddef>
#include <vector>

/// Predicts the value of a function at a point from its latest values at others. Most optimizers
/// only compare values, so a prediction need only put them into the right order.
///
/// There are several opinions: a polynomial with mixed terms (up to 8 variables), one without, a
/// spline, and their mean, in which those weigh most that were nearest to the values so far. The
/// mean is the best single one. Where the opinions differ, the next step is uncertain.
///
/// A prediction at a new point takes 10 µs in 4 variables, 37 µs in 8 and 30 µs in 20. The first
/// after a new value takes 20 µs more in 4 variables, and 100 to 200 µs more from 8 on. One at a
/// point that was predicted since the last value is looked up.
class KrPredictor {
public:
    /// `scales` has an entry for each variable: distances are measured in these units.
    explicit KrPredictor(KrRealVector scales);
    KrPredictor(KrPredictor const&) = delete;
    KrPredictor& operator=(KrPredictor const&) = delete;

    std::size_t opinions() const { return models_.size() + 1; }

    /// Takes a value into account. If it or a coordinate is not finite, it is ignored.
    void add(KrRealVector const& point, double value);
    /// The prediction at a point, in the range of the values so far; NaN if there are none.
    /// `opinion` is a number below `opinions()`, and 0 is the mean.
    double at(KrRealVector const& point, std::size_t opinion = 0);

private:
    static constexpr std::size_t mostOpinions = 4;
    using Predictions = std::array<double, mostOpinions>;

    // How far a model was from the values that came after its predictions.
    struct Model {
        std::vector<double> errors;  // the latest, in turn
        std::size_t next = 0;
        double typicalError = 0.0;

        void addError(double error);
    };

    bool scale(KrRealVector const& point);
    Predictions predict();

    KrRealVector scales_;
    KrLatestValues values_;
    KrPolynomialFit squares_;
    KrSplineFit spline_;
    KrPolynomialFit mixed_;
    std::vector<Model> models_;  // the three, or the first two
    KrRealVector point_;         // in units
    KrPointTable<Predictions> known_;
    bool isOld_ = true;  // a value came after the predictions
};
