#include "foundation/math/KrReArray.h"

#include "foundation/math/KrMath.h"

#include <algorithm>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";
}

void KrReArray::resizeArray(KrU32 rows, KrU32 columns) {
    if (rows == numRows() && columns == columns_) {
        return;
    }
    rows_.resize(rows);
    for (KrRealVector& row : rows_) {
        row.resize(columns);
    }
    columns_ = columns;
}

void KrReArray::resizeArrayAndFill(KrU32 rows, KrU32 columns, double value) {
    rows_.resize(rows);
    for (KrRealVector& row : rows_) {
        row.assign(columns, value);
    }
    columns_ = columns;
}

KrBoolean KrReArray::choleskyDecomposition(KrReArray& factor) const {
    KrU32 const n = std::min(numRows(), columns_);
    bool positiveDefinite = numRows() == columns_;
    KrReArray lower(n, n);
    for (KrU32 i = 0; i < n; ++i) {
        KrRealVector& rowI = lower[i];
        for (KrU32 j = 0; j <= i; ++j) {
            KrRealVector const& rowJ = lower[j];
            double rest = rows_[i][j];
            for (KrU32 k = 0; k < j; ++k) {
                rest -= rowI[k] * rowJ[k];
            }
            if (j < i) {
                bool const zeroColumn = !(rowJ[j] > 0.0);
                rowI[j] = zeroColumn ? 0.0 : rest / rowJ[j];
            } else if (rest > 0.0) {
                rowI[i] = KrMath::sqrt(rest);
            } else {
                positiveDefinite = false;  // row i keeps the zero: its column is left out
            }
        }
    }
    factor = std::move(lower);
    return positiveDefinite;
}
