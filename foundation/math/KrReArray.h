#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"

#include <vector>

/// Two-dimensional array of doubles: a list of rows, each a `KrRealVector`, so
/// that a set of points can be handed on as a list of points without a copy.
class KR_EXPORT KrReArray {
public:
    /// No rows.
    KrReArray() = default;

    /// `rows` rows of `columns` zeros.
    KrReArray(KrU32 rows, KrU32 columns) { resizeArray(rows, columns); }

    KrReArray(KrReArray const&) = default;
    KrReArray(KrReArray&&) noexcept = default;
    /// Takes everything, or nothing when memory runs out.
    KrReArray& operator=(KrReArray source) noexcept {
        rows_.swap(source.rows_);
        columns_ = source.columns_;
        return *this;
    }
    ~KrReArray() = default;

    /// The number of rows; of points, where the array is a list of points.
    KrU32 numRows() const { return static_cast<KrU32>(rows_.size()); }
    /// The length of each row; that of a point.
    KrU32 numColumns() const { return columns_; }

    /// Row `row`, which must exist. A row keeps its length.
    KrRealVector& operator[](KrU32 row) { return rows_[row]; }
    KrRealVector const& operator[](KrU32 row) const { return rows_[row]; }

    /// All rows at once, without a copy: what `evaluateMultiple` takes.
    std::vector<KrRealVector> const& rows() const { return rows_; }

    /// Changes the size; entries inside the new size keep their values, new
    /// ones are zero.
    void resizeArray(KrU32 rows, KrU32 columns);

    /// Changes the size and sets every entry to `value`.
    void resizeArrayAndFill(KrU32 rows, KrU32 columns, double value);

    /// Computes the lower-triangular factor L with L Lᵀ = this array, which must be
    /// symmetric and positive definite. Only the lower triangle is read.
    /// Every element has its products subtracted in index order, as if row by row
    /// (Cholesky-Banachiewicz), so that its bits do not depend on the blocks in
    /// which the work is done (left-looking: J. J. Dongarra, F. G. Gustavson and
    /// A. Karp, SIAM Review 26 (1984)).
    ///
    /// If a pivot is not positive, the factorisation starts again with 1e-13 of the
    /// largest diagonal entry added to the diagonal, then with ten times as much each
    /// time, up to 0.1 (the jitter of Gaussian process regression: C. E. Rasmussen and
    /// C. K. I. Williams, Gaussian Processes for Machine Learning (2006), section A.4).
    /// The result is true as soon as every pivot is positive. Smooth correlations need
    /// this: their matrices are singular in double precision, and rounded ones are
    /// indefinite beyond it. Leaving columns out instead would multiply the entries of
    /// the columns behind.
    ///
    /// If even 0.1 fails, nothing is added, the column of each pivot that is not
    /// positive (NaN included) is zero, and the result is false. A matrix of zeros
    /// and one with an infinite diagonal entry are treated so at once. An array that
    /// is not square is factored as far as both sides reach, and the result is false.
    ///
    /// `factor` may be this array. Cost: n³/6 multiplications, for each shift as many at
    /// most, and room for n²/2 numbers besides the factor.
    KrBoolean choleskyDecomposition(KrReArray& factor) const;

    bool operator==(KrReArray const&) const = default;

private:
    std::vector<KrRealVector> rows_;
    KrU32 columns_ = 0;
};
