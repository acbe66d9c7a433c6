#pragma once

#include "search/internal/KrLatestValues.h"

#include <cstddef>

/// A polynomial through the values near a point, fitted anew for each point by weighted least
/// squares. Near points and low values weigh most: they decide what an optimizer does next.
class KrPolynomialFit {
public:
    enum class Terms {
        squares,        ///< constant, linear terms and squares
        mixedAndCubes,  ///< the products of two variables and the cubes too
    };

    /// `values` must outlive the fit.
    KrPolynomialFit(KrLatestValues const& values, Terms terms) : values_(values), terms_(terms) {}

    /// The polynomial's value at a point; NaN if there is no fit.
    double at(double const* point) const;

private:
    KrLatestValues const& values_;
    Terms terms_;
};
