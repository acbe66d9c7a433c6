#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <vector>

/// A two-dimensional array of doubles. Each row is a `KrRealVector`, so that an array passes
/// as a list of points without a copy.
class KR_EXPORT KrReArray {
public:
    /// An array without rows.
    KrReArray() = default;

    /// `rows` rows of `columns` zeros.
    KrReArray(KrU32 rows, KrU32 columns) { resizeArray(rows, columns); }

    KrReArray(KrReArray const&) = default;
    KrReArray(KrReArray&&) noexcept = default;
    /// If memory runs out, the target keeps its value.
    KrReArray& operator=(KrReArray source) noexcept {
        rows_.swap(source.rows_);
        columns_ = source.columns_;
        return *this;
    }
    ~KrReArray() = default;

    /// The number of rows; of points in a list of points.
    KrU32 numRows() const { return static_cast<KrU32>(rows_.size()); }
    /// The length of each row; the dimension of a list of points.
    KrU32 numColumns() const { return columns_; }

    /// Row `row`, which must exist. You may change its values, not its length.
    KrRealVector& operator[](KrU32 row) { return rows_[row]; }
    KrRealVector const& operator[](KrU32 row) const { return rows_[row]; }

    /// All rows, without a copy, as `evaluateMultiple` takes them.
    std::vector<KrRealVector> const& rows() const { return rows_; }

    /// Changes the size. Entries inside the new size keep their values; new ones are zero.
    void resizeArray(KrU32 rows, KrU32 columns);

    /// Changes the size and sets every entry to `value`.
    void resizeArrayAndFill(KrU32 rows, KrU32 columns, double value);

    /// Computes the lower-triangular factor L with L Lᵀ = this array, which must be
    /// symmetric and positive definite. Only the lower triangle is read. Each element
    /// subtracts its products in index order, as row by row (Cholesky-Banachiewicz), so that
    /// the blocks of the computation do not change its bits (left-looking: J. J. Dongarra,
    /// F. G. Gustavson and A. Karp, SIAM Review 26 (1984)).
    ///
    /// If a pivot is not positive, the factorisation restarts with 1e-13 of the largest
    /// diagonal entry added to the diagonal. Each further restart adds ten times as much, up
    /// to 0.1 (the jitter of Gaussian process regression: C. E. Rasmussen and C. K. I.
    /// Williams, Gaussian Processes for Machine Learning (2006), section A.4). The result is
    /// true as soon as every pivot is positive. Smooth correlations need this: in double
    /// precision their matrices are singular, or indefinite by rounding. Skipping columns
    /// instead would amplify the entries of later columns.
    ///
    /// If even 0.1 fails, nothing is added, the column of each pivot that is not positive
    /// (or NaN) is zero, and the result is false. For a matrix of zeros, or one with an
    /// infinite diagonal entry, no shift is tried. If the array is not square, its largest
    /// leading square is factored, and the result is false.
    ///
    /// `factor` may be this array. Cost: n³/6 multiplications, at most as many again for each
    /// shift, and memory for n²/2 numbers besides the factor.
    KrBoolean choleskyDecomposition(KrReArray& factor) const;

    bool operator==(KrReArray const&) const = default;

private:
    std::vector<KrRealVector> rows_;
    KrU32 columns_ = 0;
};
