#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrReArray.h"
#include "function/scalar/KrBaseScalarFunction.h"

#include <span>

/// Generates random fields: two-dimensional arrays of Gaussian values around a mean, whose
/// correlation between two cells is a given function of their distance.
///
/// A field is a sum of n = numRandomSamples samples. Each sample is a separable field: the
/// product of two sequences along axes rotated by a random angle. The method is related to the
/// turning bands of G. Matheron, which sum functions of one coordinate along random directions
/// ("The intrinsic random functions and their applications", Advances in Applied Probability 5,
/// 1973).
///
///     field[r][c] = mean + sum of u1[b] u2[a] / sqrt(n)
///
/// Here u1 = L z1 and u2 = L z2 are correlated sequences along the two axes of a square grid.
/// z1 and z2 are independent normal values; L is the Cholesky factor of the correlation matrix.
/// The side of the grid is the diagonal of the field. (a, b) is the position of the cell in the
/// grid, which is rotated about the field's centre. The sum tends to a Gaussian field as n
/// grows. Its variance is c0 = correlation(0). Its correlation at the distance d is the mean
/// over all directions t of correlation(d |cos t|) correlation(d |sin t|) / c0.
///
/// Each sample draws twice the grid's side normal values and one uniform value from `KrRandom`.
/// A seed therefore determines the field, bit-identical on every machine.
///
/// One thread at a time uses an object.
class KR_EXPORT KrRandomTensorTool {
public:
    KrRandomTensorTool() = default;
    KrRandomTensorTool(KrRandomTensorTool const&) = default;
    KrRandomTensorTool& operator=(KrRandomTensorTool const&) = default;
    virtual ~KrRandomTensorTool();

    /// Seeds the stream of `KrRandom`, which all its users share. Every seed is admissible.
    virtual void setRandomSeed(KrU32 seed);

    /// The number n of samples summed into a field. Default: 100.
    /// Admissible: 0 <= n <= 4294967295. With 0 the field is its mean and draws no random
    /// numbers. Time grows in proportion to n. Raise n if the axes of single samples are
    /// visible, as they are below some dozens.
    virtual KrU32 numRandomSamples() const { return numRandomSamples_; }
    virtual void setNumRandomSamples(KrU32 count) { numRandomSamples_ = count; }

    /// Makes `array` a field of `numRows` rows of `numColumns` values.
    ///
    /// `correlation` is a function of the distance, in the unit of `spacing`. It is evaluated
    /// once for each multiple of the spacing up to the diagonal. Its value at 0 is the variance
    /// c0. If c0 is not positive and finite, the field is `mean` everywhere. Its other values
    /// are clamped to [-c0, c0], and NaN counts as 0.
    ///
    /// `spacing` is the distance between neighbouring cells. Admissible: 0 < spacing < INF, not
    /// checked. 0 correlates all cells fully. A negative spacing evaluates `correlation` at
    /// negative distances. An infinite or NaN one gives an arbitrary field. `mean` is any finite
    /// number in the unit of the field; an infinite or NaN mean fills the field.
    ///
    /// The correlation matrix must be positive definite. In double precision those of smooth
    /// correlations are not. Then the factor is that of the matrix with a larger diagonal
    /// (`KrReArray::choleskyDecomposition`), which adds 1e-13 to 0.1 of c0 to the variance.
    /// Values rounded to d digits need about 10^-(d-1). If 0.1 is not enough, the function is
    /// no correlation: columns without a positive pivot are omitted, and the variance of the
    /// field is arbitrary.
    ///
    /// The squares of the sides are added in 32 bits. If the diagonal is 65536 cells or more,
    /// the corners of the field take the values at the grid's edge.
    ///
    /// Cost, with K cells along the diagonal: K^3 / 6 multiplications for the factor; for each
    /// sample K^2 multiplications and some nanoseconds a cell. Memory: 1.5 K^2 numbers for any
    /// number of samples.
    virtual void getGaussianRandomArray(KrReArray& array, KrU32 numColumns, KrU32 numRows,
                                        KrBaseScalarFunction& correlation, double spacing,
                                        double mean) const;

    /// Writes the same field to `cells`, row after row, with the same bits and draws. If `cells`
    /// has not `numRows` times `numColumns` numbers, an error is printed, nothing is written, and
    /// the result is false.
    KrBoolean fillGaussianRandomArray(std::span<double> cells, KrU32 numColumns, KrU32 numRows,
                                      KrBaseScalarFunction& correlation, double spacing,
                                      double mean) const;

    bool operator==(KrRandomTensorTool const& other) const = default;

private:
    KrU32 numRandomSamples_ = 100;
};
