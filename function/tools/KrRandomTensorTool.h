#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrReArray.h"
#include "function/scalar/KrBaseScalarFunction.h"

/// Random fields: two-dimensional arrays of Gaussian values around a mean, whose
/// correlation between two cells is a given function of their distance.
///
/// A field is a sum of n = numRandomSamples samples, each the product of two
/// sequences along axes that are turned by a random angle: a sum of randomly rotated
/// separable fields. It is kin to the turning bands of G. Matheron, "The intrinsic
/// random functions and their applications", Advances in Applied Probability 5
/// (1973), which sum functions of one coordinate along random directions.
///
///     field[r][c] = mean + sum of u1[b] u2[a] / sqrt(n)
///
/// where u1 = L z1 and u2 = L z2 are correlated sequences along the two axes of a
/// square grid with the field's diagonal as its side, z1 and z2 independent
/// normal values, L the Cholesky factor of the correlation matrix, and (a, b) the
/// place of the cell in that grid, which is turned about the field's centre. The
/// sum tends to a Gaussian field as n grows. Its variance is c0 =
/// correlation(0), and its correlation along a line is the mean over all
/// directions t of correlation(d |cos t|) correlation(d |sin t|) / c0, d being
/// the distance.
///
/// The random numbers are those of `KrRandom`, and for each sample exactly twice
/// the grid's side normal values and one uniform value, so that a seed determines
/// the field, to the last bit on every machine.
class KR_EXPORT KrRandomTensorTool {
public:
    KrRandomTensorTool() = default;
    KrRandomTensorTool(KrRandomTensorTool const&) = default;
    KrRandomTensorTool& operator=(KrRandomTensorTool const&) = default;
    virtual ~KrRandomTensorTool();

    /// Seeds the stream of `KrRandom`, which all its users share.
    virtual void setRandomSeed(KrU32 seed);

    /// How many samples are summed into a field.
    virtual KrU32 numRandomSamples() const { return numRandomSamples_; }
    virtual void setNumRandomSamples(KrU32 count) { numRandomSamples_ = count; }

    /// Makes `array` a field of `numRows` rows of `numColumns` values.
    /// `correlation` is a function of the distance, in the units of `spacing`,
    /// which is the distance between neighbouring cells; it is evaluated once for
    /// each multiple of the spacing up to the diagonal, and its value at 0 is the
    /// variance. Without samples the field is `mean` everywhere, and no random
    /// number is drawn.
    ///
    /// A correlation is held within [-c0, c0], and one that is NaN counts as 0;
    /// without a positive, finite c0 the field is `mean` everywhere.
    /// If the correlation matrix is not positive definite, as those of smooth
    /// correlations are in double precision, the factor is that of the matrix with a
    /// larger diagonal (`KrReArray::choleskyDecomposition`): the variance grows by 1e-13
    /// to 0.1 of c0. Values rounded to d digits need about 10^-(d-1). A function that is
    /// no correlation, and needs more than 0.1, has its columns without a positive pivot
    /// left out, and the variance of its fields is arbitrary.
    /// The squares of the sides are added in 32 bits: of a field with a diagonal
    /// of 65536 cells or more the corners take the values at the grid's edge.
    ///
    /// Cost, with the diagonal of K cells: K^3 / 6 multiplications for the factor,
    /// and for each sample K^2 of them and some nanoseconds a cell; memory for
    /// one and a half times K^2 numbers, however many samples there are.
    virtual void getGaussianRandomArray(KrReArray& array, KrU32 numColumns, KrU32 numRows,
                                        KrBaseScalarFunction& correlation, double spacing,
                                        double mean) const;

    bool operator==(KrRandomTensorTool const& other) const = default;

private:
    KrU32 numRandomSamples_ = 100;
};
