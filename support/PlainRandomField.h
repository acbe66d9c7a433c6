#pragma once

#include "foundation/math/KrRandom.h"
#include "foundation/math/internal/KrElementary.h"
#include "function/scalar/KrBaseScalarFunction.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

/// A random field without any optimisation. The tests compare the library's bits with
/// its, the benchmarks its speed.
struct PlainRandomField {
    using Matrix = std::vector<std::vector<double>>;

    /// The lower-triangular factor of a symmetric matrix, row by row, with `shift` added
    /// to the diagonal. A column whose pivot is not positive is zero.
    static Matrix shiftedFactor(Matrix const& matrix, double shift, bool& positiveDefinite) {
        std::size_t const n = matrix.size();
        Matrix factor(n, std::vector<double>(n));
        positiveDefinite = true;
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t j = 0; j <= i; ++j) {
                double rest = matrix[i][j] + (j == i ? shift : 0.0);
                for (std::size_t k = 0; k < j; ++k) {
                    rest -= factor[i][k] * factor[j][k];
                }
                if (j < i) {
                    factor[i][j] = factor[j][j] > 0.0 ? rest / factor[j][j] : 0.0;
                } else if (rest > 0.0) {
                    factor[i][i] = std::sqrt(rest);
                } else {
                    positiveDefinite = false;
                }
            }
        }
        return factor;
    }

    /// The factor with the smallest shift that makes every pivot positive: 0, or 1e-13,
    /// 1e-12, ... 0.1 of the largest diagonal entry. If none does, the factor without a shift.
    static Matrix choleskyFactor(Matrix const& matrix, bool& positiveDefinite) {
        Matrix const plain = shiftedFactor(matrix, 0.0, positiveDefinite);
        double shift = 0.0;
        for (std::size_t i = 0; i < matrix.size(); ++i) {
            shift = std::max(shift, 1e-13 * matrix[i][i]);
        }
        Matrix factor = plain;
        for (int i = 0; i < 13 && !positiveDefinite; ++i, shift *= 10) {
            factor = shiftedFactor(matrix, shift, positiveDefinite);
        }
        return positiveDefinite ? factor : plain;
    }

    static std::vector<double> lowerProduct(Matrix const& factor, std::vector<double> const& z) {
        std::vector<double> u(z.size());
        for (std::size_t i = 0; i < u.size(); ++i) {
            for (std::size_t k = 0; k <= i; ++k) {
                u[i] += factor[i][k] * z[k];
            }
        }
        return u;
    }

    static Matrix field(KrU32 columns, KrU32 rows, KrBaseScalarFunction const& correlation,
                        double spacing, double mean, KrU32 samples) {
        Matrix array(rows, std::vector<double>(columns, mean));
        // If the squares of the sides wrap around, the grid is smaller than the field. The
        // cells beyond it take the value at its edge.
        KrU32 const squares = rows * rows + columns * columns;
        KrU32 const side = static_cast<KrU32>(std::ceil(std::sqrt(squares))) + 1;
        auto const held = [side](double position) {
            return static_cast<std::size_t>(std::clamp(std::floor(position), 0.0, side - 1.0));
        };
        double const c0 = correlation.evaluate(0.0);
        double const scale = 1.0 / std::sqrt(c0 >= 1e-300 ? c0 : 1e-300);
        Matrix matrix(side, std::vector<double>(side));
        for (KrU32 i = 0; i < side; ++i) {
            for (KrU32 j = i; j < side; ++j) {
                double const r = std::clamp(correlation.evaluate((j - i) * spacing), -c0, c0);
                matrix[i][j] = matrix[j][i] = r * scale;
            }
        }
        bool positiveDefinite = false;
        Matrix const factor = choleskyFactor(matrix, positiveDefinite);
        double const weight = 1.0 / std::sqrt(samples);
        Matrix product(side, std::vector<double>(side));
        for (KrU32 sample = 0; sample < samples; ++sample) {
            std::vector<double> const z1 = KrRandom::normalRandoms(0.0, 1.0, side);
            std::vector<double> const z2 = KrRandom::normalRandoms(0.0, 1.0, side);
            std::vector<double> const u1 = lowerProduct(factor, z1);
            std::vector<double> const u2 = lowerProduct(factor, z2);
            for (KrU32 i = 0; i < side; ++i) {
                for (KrU32 j = 0; j < side; ++j) {
                    product[i][j] = u1[i] * u2[j];
                }
            }
            double const angle = KrRandom::uniformRealRandom(0.0, 2.0 * std::numbers::pi);
            double cosine = 0.0;
            double sine = 0.0;
            KrElementary::sineAndCosine(angle, sine, cosine);
            for (KrU32 r = 0; r < rows; ++r) {
                for (KrU32 c = 0; c < columns; ++c) {
                    double const x = c - 0.5 * columns;
                    double const y = r - 0.5 * rows;
                    std::size_t const a = held(x * cosine - y * sine + 0.5 * side);
                    std::size_t const b = held(x * sine + y * cosine + 0.5 * side);
                    array[r][c] += weight * product[b][a];
                }
            }
        }
        return array;
    }
};
