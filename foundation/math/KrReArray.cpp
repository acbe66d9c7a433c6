#include "foundation/math/KrReArray.h"

#include "foundation/math/KrMath.h"
#include "foundation/math/internal/KrLanes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

KR_SOURCE_VERSION;

namespace {

// The lower triangle of a matrix, which `factor` turns into its factor. It is stored in
// panels of four rows, each column-major, so that the entries of four rows in one column
// are contiguous. Rows of zeros pad the last panel.
class Panels {
public:
    static constexpr std::size_t height = 4;
    // How many panels one sweep over the panels to their left completes: as many as the
    // second-level cache holds at a few thousand rows.
    static constexpr std::size_t block = 8;

    explicit Panels(std::size_t size) : size_(size), values_(start(count())) {}

    // Factors `matrix` with `shift` added to its diagonal. True if every pivot was positive.
    // With `toTheEnd` the factorisation goes on behind a pivot that is not, with a column of
    // zeros.
    bool factor(KrReArray const& matrix, double shift, bool toTheEnd) {
        copyFrom(matrix, shift);
        return krHasFour() ? factorByFour(toTheEnd) : factorBy<KrTwo, 1>(toTheEnd);
    }

    void copyRow(std::size_t i, KrRealVector& row) const {
        double const* const panel = values_.data() + start(i / height) + i % height;
        for (std::size_t j = 0; j <= i; ++j) {
            row[j] = panel[j * height];
        }
        std::fill(row.begin() + static_cast<std::ptrdiff_t>(i) + 1, row.end(), 0.0);
    }

private:
    static std::size_t start(std::size_t panel) {
        return panel * (panel + 1) / 2 * height * height;
    }
    double* at(std::size_t panel) { return values_.data() + start(panel); }
    std::size_t count() const { return (size_ + height - 1) / height; }

    void copyFrom(KrReArray const& matrix, double shift) {
        for (std::size_t i = 0; i < size_; ++i) {
            double* const panel = at(i / height) + i % height;
            for (std::size_t j = 0; j < i; ++j) {
                panel[j * height] = matrix.rows()[i][j];
            }
            panel[i * height] = matrix.rows()[i][i] + shift;
        }
    }

    KR_FOUR bool factorByFour(bool toTheEnd) { return factorBy<KrFour, 2>(toTheEnd); }

    // `together` panels at a time fill the registers with sums that do not depend on one
    // another.
    template <class Lanes, std::size_t together>
    [[gnu::always_inline]] bool factorBy(bool toTheEnd) {
        bool positive = true;
        for (std::size_t first = 0; first < count(); first += block) {
            std::size_t const end = std::min(first + block, count());
            for (std::size_t across = 0; across < end; ++across) {
                if (across >= first) {
                    positive = factorDiagonal<Lanes>(across) && positive;
                    if (!positive && !toTheEnd) {
                        return false;
                    }
                }
                std::size_t down = std::max(first, across + 1);
                for (; down + together <= end; down += together) {
                    factorBelow<Lanes, together>(down, across);
                }
                for (; down < end; ++down) {
                    factorBelow<Lanes, 1>(down, across);
                }
            }
        }
        return positive;
    }

    // Completes the square of panel `p` on the diagonal.
    template <class Lanes>
    [[gnu::always_inline]] bool factorDiagonal(std::size_t p) {
        double rests[1][height][height];
        subtractProducts<Lanes>(p, p, rests);
        auto& rest = rests[0];
        bool positive = true;
        double* const target = at(p) + p * height * height;
        for (std::size_t j = 0; j < std::min(height, size_ - p * height); ++j) {
            double const square = rest[j][j];
            double const pivot = square > 0.0 ? KrMath::sqrt(square) : 0.0;
            positive &= square > 0.0;
            finishColumn(rest, target, target, j, pivot);
            std::fill_n(target + j * height, j, 0.0);
            target[j * height + j] = pivot;
        }
        return positive;
    }

    // Completes the squares of panels `down`, `down` + 1, ... in the columns of panel `across`.
    template <class Lanes, std::size_t together>
    [[gnu::always_inline]] void factorBelow(std::size_t down, std::size_t across) {
        double rest[together][height][height];
        subtractProducts<Lanes>(down, across, rest);
        double const* const diagonal = at(across) + across * height * height;
        for (std::size_t p = 0; p < together; ++p) {
            double* const target = at(down + p) + across * height * height;
            for (std::size_t j = 0; j < height; ++j) {
                finishColumn(rest[p], target, diagonal, j, diagonal[j * height + j]);
            }
        }
    }

    // Sets rest[p][j][i] to element (i, j) of the square of panel `down` + p minus the
    // products of all columns to its left, in their order.
    template <class Lanes, std::size_t together>
    [[gnu::always_inline]] void subtractProducts(std::size_t down, std::size_t across,
                                                 double (&rest)[together][height][height]) {
        constexpr std::size_t width = sizeof(Lanes) / sizeof(double);
        constexpr std::size_t parts = height / width;
        std::size_t const square = across * height * height;
        double const* rowI[together];
        Lanes sum[together][height][parts];
        for (std::size_t p = 0; p < together; ++p) {
            rowI[p] = at(down + p);
            std::memcpy(sum[p], rowI[p] + square, sizeof sum[p]);
        }
        double const* const rowJ = at(across);
        for (std::size_t k = 0; k < square; k += height) {
            for (std::size_t p = 0; p < together; ++p) {
                for (std::size_t part = 0; part < parts; ++part) {
                    Lanes i;
                    krLoad(i, rowI[p] + k + part * width);
                    for (std::size_t j = 0; j < height; ++j) {
                        sum[p][j][part] -= i * rowJ[k + j];
                    }
                }
            }
        }
        std::memcpy(rest, sum, sizeof rest);
    }

    // Divides column j of a square by its pivot and subtracts its products from the later
    // columns.
    [[gnu::always_inline]] static void finishColumn(double (&rest)[height][height], double* target,
                                                    double const* diagonal, std::size_t j,
                                                    double pivot) {
        for (std::size_t i = 0; i < height; ++i) {
            target[j * height + i] = pivot > 0.0 ? rest[j][i] / pivot : 0.0;
        }
        for (std::size_t later = j + 1; later < height; ++later) {
            for (std::size_t i = 0; i < height; ++i) {
                rest[later][i] -= target[j * height + i] * diagonal[j * height + later];
            }
        }
    }

    std::size_t size_;
    std::vector<double> values_;
};

}  // namespace

void KrReArray::resizeArray(KrU32 rows, KrU32 columns) {
    if (rows == numRows() && columns == columns_) {
        return;
    }
    // Reserves first: if memory runs out, all rows still have `columns_` entries.
    rows_.resize(std::min(rows, numRows()));
    for (KrRealVector& row : rows_) {
        row.reserve(columns);
    }
    for (KrRealVector& row : rows_) {
        row.resize(columns);
    }
    columns_ = columns;
    while (numRows() < rows) {
        rows_.emplace_back(columns);
    }
}

void KrReArray::resizeArrayAndFill(KrU32 rows, KrU32 columns, double value) {
    resizeArray(rows, columns);
    for (KrRealVector& row : rows_) {
        row.assign(columns, value);
    }
}

KrBoolean KrReArray::choleskyDecomposition(KrReArray& factor) const {
    KrU32 const n = std::min(numRows(), columns_);
    bool const isSquare = numRows() == columns_;  // `factor` may be this array
    Panels panels(n);
    bool positiveDefinite = panels.factor(*this, 0.0, false);
    if (!positiveDefinite) {
        double largest = 0.0;
        bool isFinite = true;  // a shift cannot repair any other matrix
        for (KrU32 i = 0; i < n; ++i) {
            largest = std::max(largest, rows_[i][i]);
            for (KrU32 j = 0; j <= i; ++j) {
                isFinite = isFinite && std::isfinite(rows_[i][j]);
            }
        }
        bool const canShift = isFinite && largest > 0.0 && std::isfinite(1.1 * largest);
        double shift = 1e-13 * largest;
        for (int attempt = 0; canShift && !positiveDefinite && attempt < 13; ++attempt) {
            positiveDefinite = panels.factor(*this, shift, false);
            shift *= 10;
        }
        if (!positiveDefinite) {
            panels.factor(*this, 0.0, true);
        }
    }
    factor.resizeArray(n, n);
    for (KrU32 i = 0; i < n; ++i) {
        panels.copyRow(i, factor.rows_[i]);
    }
    return positiveDefinite && isSquare;
}
