#pragma once

#include "foundation/core/KrExport.h"
#include "foundation/core/KrTypes.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"

#include <cmath>
#include <limits>
#include <vector>

/// What the optimizers share, in the one order of operations that all of them
/// keep. Values are signed: the function's value times +1.0 in a search for a
/// minimum and -1.0 in a search for a maximum, so that every search minimises.
namespace KrSearch {

/// Edge length along coordinate `i`: the listed one, else `otherwise`.
inline double edgeLength(KrXmlRealVector const& listed, double otherwise, KrU32 i) {
    return i < listed.size() ? listed[i].value() : otherwise;
}

/// Makes `simplex` n+1 rows of n: `start` in row 0, and in row i+1 the same point
/// moved along coordinate i by `scale` times its edge length.
KR_EXPORT void seedSimplex(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                           double defaultEdgeLength, double scale, KrReArray& simplex);

/// Makes `stencil` the simplex of `seedSimplex`, followed by n rows that are moved
/// backward as far as those were moved forward: 2n+1 rows of n.
KR_EXPORT void seedStencil(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                           double defaultEdgeLength, double scale, KrReArray& stencil);

/// The signed values at `points`, by one call of `evaluateMultiple`.
KR_EXPORT void evaluateBatch(double sign, KrScalarMultivariableFunction const& f,
                             std::vector<KrRealVector> const& points, KrRealVector& values);

/// result = a x + b y, for three distinct points of n components.
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

/// Whether every component is a finite number.
inline bool isFinite(KrRealVector const& point) {
    std::size_t others = 0;
    for (double const component : point) {
        others += !(std::fabs(component) <= std::numeric_limits<double>::max());
    }
    return others == 0;
}

/// How many of the values lie above `bound`.
inline std::size_t countAbove(double bound, KrRealVector const& values) {
    std::size_t count = 0;
    for (double const value : values) {
        count += value > bound;
    }
    return count;
}

/// The indices of the smallest and of the largest value; the lowest index of
/// equal ones, and 0 for fewer than two values.
KR_EXPORT void findExtremes(KrRealVector const& values, KrU32& minIndex, KrU32& maxIndex);

/// The first of the two indices alone.
KR_EXPORT KrU32 minIndexOf(KrRealVector const& values);

}  // namespace KrSearch
