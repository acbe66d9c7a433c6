#include "function/tools/KrRandomTensorTool.h"

#include "foundation/core/KrPrint.h"
#include "foundation/math/KrMath.h"
#include "foundation/math/KrRandom.h"
#include "foundation/math/internal/KrElementary.h"
#include "foundation/math/internal/KrLanes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

KR_SOURCE_VERSION;

namespace {

// Returns the Cholesky factor of the correlation matrix.
KrReArray correlationFactor(KrU32 side, KrBaseScalarFunction const& correlation, double spacing) {
    double const c0 = correlation.evaluate(0.0);
    double const scale = 1.0 / KrMath::sqrt(KrMath::nonZeroPos(c0));
    KrRealVector values(side);
    for (KrU32 distance = 0; distance < side; ++distance) {
        double const r = correlation.evaluate(distance * spacing);
        // A negative c0 makes the range empty; the result is c0, and the field has no variance.
        double const clamped = std::min(std::max(std::isnan(r) ? 0.0 : r, -c0), c0);
        values[side - 1 - distance] = clamped * scale;
    }
    KrReArray matrix(side, side);
    for (KrU32 i = 0; i < side; ++i) {
        std::copy_n(values.end() - (i + 1), i + 1, matrix[i].begin());
    }
    matrix.choleskyDecomposition(matrix);
    return matrix;
}

// Samples are computed in batches, so that the factor is read once for each batch.
constexpr std::size_t batchSize = 16;
constexpr std::size_t sequences = 2 * batchSize;

struct Batch {
    explicit Batch(std::size_t theSide) : side(theSide), z(side * sequences), u(side * sequences) {}

    void draw(std::size_t count);
    void multiply(KrReArray const& factor);
    // Computes u[i] = sum over k = 0..i of L[i][k] z[k], for four rows and two registers of
    // sequences at a time.
    template <class Lanes>
    [[gnu::always_inline]] void multiplyBy(KrReArray const& factor) {
        constexpr std::size_t tile = 4;
        constexpr std::size_t width = sizeof(Lanes) / sizeof(double);
        for (std::size_t top = 0; top < side; top += tile) {
            std::size_t const height = std::min(tile, side - top);
            double const* row[tile];
            for (std::size_t t = 0; t < tile; ++t) {
                row[t] = factor.rows()[top + std::min(t, height - 1)].data();
            }
            for (std::size_t left = 0; left < 2 * size; left += 2 * width) {
                Lanes sum[tile][2] = {};
                Lanes z0;
                Lanes z1;
                double const* from = z.data() + left;
                for (std::size_t k = 0; k <= top; ++k, from += sequences) {
                    krLoad(z0, from);
                    krLoad(z1, from + width);
                    for (std::size_t t = 0; t < tile; ++t) {
                        sum[t][0] += row[t][k] * z0;
                        sum[t][1] += row[t][k] * z1;
                    }
                }
                for (std::size_t t = 0; t < height; ++t) {
                    double const* last = from;
                    for (std::size_t k = top + 1; k <= top + t; ++k, last += sequences) {
                        krLoad(z0, last);
                        krLoad(z1, last + width);
                        sum[t][0] += row[t][k] * z0;
                        sum[t][1] += row[t][k] * z1;
                    }
                    for (std::size_t s = 0; s < 2 * width; ++s) {
                        u[(left + s) * side + top + t] = sum[t][s / width][s % width];
                    }
                }
            }
        }
    }

    KR_FOUR void multiplyByFour(KrReArray const& factor) { multiplyBy<KrFour>(factor); }

    double const* u1(std::size_t sample) const { return u.data() + 2 * sample * side; }
    double const* u2(std::size_t sample) const { return u1(sample) + side; }

    std::size_t side;
    std::size_t size = 0;
    KrRealVector z;  // z[k][sequence], the two sequences of a sample next to each other
    KrRealVector u;  // u[sequence][i]
    std::array<double, batchSize> cosine{};
    std::array<double, batchSize> sine{};
};

void Batch::draw(std::size_t count) {
    size = count;
    for (std::size_t sample = 0; sample < size; ++sample) {
        for (std::size_t sequence = 2 * sample; sequence < 2 * sample + 2; ++sequence) {
            KrRealVector const values = KrRandom::normalRandoms(0.0, 1.0, static_cast<KrU32>(side));
            for (std::size_t k = 0; k < side; ++k) {
                z[k * sequences + sequence] = values[k];
            }
        }
        double const angle = KrRandom::uniformRealRandom(0.0, 2.0 * std::numbers::pi);
        KrElementary::sineAndCosine(angle, sine[sample], cosine[sample]);
    }
}

void Batch::multiply(KrReArray const& factor) {
    krHasFour() ? multiplyByFour(factor) : multiplyBy<KrTwo>(factor);
}

// Adds samples to the cells, tile by tile, so that the data of a sample and a tile stay in the
// first-level cache.
class ReadOut {
public:
    ReadOut(std::vector<double*> const& rows, std::size_t columns, std::size_t side, double weight)
        : rows_(rows),
          columns_(columns),
          lastIndex_(static_cast<double>(side - 1)),
          centre_(0.5 * static_cast<double>(side)),
          weight_(weight) {}

    // `withinGrid`: no index needs clamping, since the grid extends half a cell beyond both ends
    // of the field's diagonal.
    void add(Batch const& batch, bool withinGrid) {
        krHasFour() ? addByFour(batch, withinGrid) : addBy(batch, withinGrid);
    }

private:
    static constexpr std::size_t tileRows = 64;
    static constexpr std::size_t tileColumns = 128;

    KR_FOUR void addByFour(Batch const& batch, bool withinGrid) { addBy(batch, withinGrid); }

    [[gnu::always_inline]] void addBy(Batch const& batch, bool withinGrid) {
        for (std::size_t top = 0; top < rows_.size(); top += tileRows) {
            for (std::size_t left = 0; left < columns_; left += tileColumns) {
                for (std::size_t sample = 0; sample < batch.size; ++sample) {
                    withinGrid ? addToTile<false>(batch, sample, top, left)
                               : addToTile<true>(batch, sample, top, left);
                }
            }
        }
    }

    template <bool clamp>
    [[gnu::always_inline]] void addToTile(Batch const& batch, std::size_t sample, std::size_t top,
                                          std::size_t left) {
        double const cosine = batch.cosine[sample];
        double const sine = batch.sine[sample];
        std::size_t const width = std::min(tileColumns, columns_ - left);
        double xCosine[tileColumns];
        double xSine[tileColumns];
        for (std::size_t c = 0; c < width; ++c) {
            double const x = static_cast<double>(left + c) - 0.5 * static_cast<double>(columns_);
            xCosine[c] = x * cosine;
            xSine[c] = x * sine;
        }
        std::int32_t a[tileColumns];
        std::int32_t b[tileColumns];
        for (std::size_t r = top; r < std::min(top + tileRows, rows_.size()); ++r) {
            double const y = static_cast<double>(r) - 0.5 * static_cast<double>(rows_.size());
            double const ySine = y * sine;
            double const yCosine = y * cosine;
            for (std::size_t c = 0; c < width; ++c) {
                a[c] = index<clamp>(xCosine[c] - ySine + centre_);
                b[c] = index<clamp>(xSine[c] + yCosine + centre_);
            }
            addProducts(weight_, batch.u1(sample), b, batch.u2(sample), a, width, rows_[r] + left);
        }
    }

    // Returns the floor of a position >= 0, for which the conversion truncates alike.
    template <bool clamp>
    [[gnu::always_inline]] std::int32_t index(double position) const {
        if (clamp) {
            position = std::min(std::max(position, 0.0), lastIndex_);
        }
        return static_cast<std::int32_t>(position);
    }

    [[gnu::always_inline]] static void addProducts(double weight, double const* __restrict u1,
                                                   std::int32_t const* __restrict b,
                                                   double const* __restrict u2,
                                                   std::int32_t const* __restrict a,
                                                   std::size_t width, double* __restrict cells) {
        for (std::size_t c = 0; c < width; ++c) {
            cells[c] += weight * (u1[b[c]] * u2[a[c]]);
        }
    }

    std::vector<double*> const& rows_;
    std::size_t columns_;
    double lastIndex_;
    double centre_;
    double weight_;
};

// Adds samples to cells that have the mean. `rows` has the first cell of each row.
void addSamples(KrU32 samples, std::vector<double*> const& rows, KrU32 numColumns,
                KrBaseScalarFunction const& correlation, double spacing) {
    if (samples == 0) {
        return;
    }
    KrU32 const numRows = static_cast<KrU32>(rows.size());
    KrU32 const squares = numRows * numRows + numColumns * numColumns;
    bool const withinGrid =
        squares == std::uint64_t{numRows} * numRows + std::uint64_t{numColumns} * numColumns;
    KrU32 const side = static_cast<KrU32>(std::ceil(KrMath::sqrt(squares))) + 1;
    KrReArray const factor = correlationFactor(side, correlation, spacing);
    ReadOut readOut(rows, numColumns, side, 1.0 / KrMath::sqrt(samples));
    Batch batch(side);
    for (KrU32 left = samples; left > 0; left -= static_cast<KrU32>(batch.size)) {
        batch.draw(std::min<std::size_t>(left, batchSize));
        batch.multiply(factor);
        readOut.add(batch, withinGrid);
    }
}

}  // namespace

KrRandomTensorTool::~KrRandomTensorTool() = default;

void KrRandomTensorTool::setRandomSeed(KrU32 seed) { KrRandom::seed(seed); }

void KrRandomTensorTool::getGaussianRandomArray(KrReArray& array, KrU32 numColumns, KrU32 numRows,
                                                KrBaseScalarFunction& correlation, double spacing,
                                                double mean) const {
    array.resizeArrayAndFill(numRows, numColumns, mean);
    std::vector<double*> rows(numRows);
    for (KrU32 r = 0; r < numRows; ++r) {
        rows[r] = array[r].data();
    }
    addSamples(numRandomSamples_, rows, numColumns, correlation, spacing);
}

KrBoolean KrRandomTensorTool::fillGaussianRandomArray(std::span<double> cells, KrU32 numColumns,
                                                      KrU32 numRows,
                                                      KrBaseScalarFunction& correlation,
                                                      double spacing, double mean) const {
    std::uint64_t const size = std::uint64_t{numRows} * numColumns;
    if (cells.size() != size) {
        Kr::Print::instance().write(Kr::PrintType::Error,
                                    "random field: expected %s cells, found %s\n",
                                    std::to_string(size), std::to_string(cells.size()));
        return false;
    }
    std::ranges::fill(cells, mean);
    std::vector<double*> rows(numRows);
    for (std::size_t r = 0; r < numRows; ++r) {
        rows[r] = cells.data() + r * numColumns;
    }
    addSamples(numRandomSamples_, rows, numColumns, correlation, spacing);
    return true;
}
