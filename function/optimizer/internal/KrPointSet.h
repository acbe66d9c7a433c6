#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <cmath>
#include <limits>
#include <vector>

/// The points of a search and their signed values: simplices, stencils, combinations.
///
/// A signed value is the function's value times +1.0 in a search for a minimum and
/// -1.0 in a search for a maximum. So every search minimises.
namespace KrPointSet {

/// Returns the listed edge length of coordinate `i`, or `defaultLength` if the list
/// is shorter.
inline double edgeLength(KrXmlRealVector const& listed, double defaultLength, KrU32 i) {
    return i < listed.size() ? listed[i].value() : defaultLength;
}

/// Makes `simplex` n+1 rows of n. Row 0 is `start`; row i+1 is `start`, displaced along
/// coordinate i by `scale` times its edge length.
KR_EXPORT void buildSimplex(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                            double defaultEdgeLength, double scale, KrReArray& simplex);

/// Makes `stencil` 2n+1 rows of n: the rows of `buildSimplex`, then n rows that are
/// displaced in the opposite direction.
KR_EXPORT void buildStencil(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                            double defaultEdgeLength, double scale, KrReArray& stencil);

/// Evaluates all points by one call of `evaluateMultiple` and writes their signed values.
KR_EXPORT void evaluate(double sign, KrScalarMultivariableFunction const& f,
                        std::vector<KrRealVector> const& points, KrRealVector& values);

/// Writes a x + b y into `result`, for three distinct points of n components.
inline void combine(std::size_t n, double a, double const* __restrict x, double b,
                    double const* __restrict y, double* __restrict result) {
    for (std::size_t j = 0; j < n; ++j) {
        result[j] = a * x[j] + b * y[j];
    }
}
inline void combine(double a, KrRealVector const& x, double b, KrRealVector const& y,
                    KrRealVector& result) {
    combine(result.size(), a, x.data(), b, y.data(), result.data());
}

/// Whether every component is finite.
inline bool isFinite(KrRealVector const& point) {
    std::size_t nonFinite = 0;
    for (double const component : point) {
        nonFinite += !(std::fabs(component) <= std::numeric_limits<double>::max());
    }
    return nonFinite == 0;
}

/// Returns the number of values above `bound`.
inline std::size_t countAbove(double bound, KrRealVector const& values) {
    std::size_t count = 0;
    for (double const value : values) {
        count += value > bound;
    }
    return count;
}

/// Finds the indices of the smallest and of the largest value, the lowest index of
/// equal ones. Both are 0 for fewer than two values.
KR_EXPORT void findExtremes(KrRealVector const& values, KrU32& minIndex, KrU32& maxIndex);

/// Returns the index of the smallest value, as `findExtremes` does.
KR_EXPORT KrU32 minIndexOf(KrRealVector const& values);

}  // namespace KrPointSet
