#include "function/optimizer/KrSearch.h"

#include <algorithm>
#include <limits>

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

// Makes row `row` a copy of row 0, moved along coordinate `i` by `step`.
void moveAlong(KrU32 i, double step, KrReArray& points, KrU32 row) {
    points[row] = points[0];
    points[row][i] += step;
}

}  // namespace

namespace KrSearch {

void copyStart(KrRealVector const& start, KrRealVector& point) {
    std::size_t const common = std::min(start.size(), point.size());
    auto const rest = std::copy_n(start.begin(), common, point.begin());
    std::fill(rest, point.end(), 0.0);
}

void seedSimplex(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                 double defaultEdgeLength, double scale, KrReArray& simplex) {
    simplex.resizeArray(n + 1, n);
    copyStart(start, simplex[0]);
    for (KrU32 i = 0; i < n; ++i) {
        moveAlong(i, scale * edgeLength(edgeLengths, defaultEdgeLength, i), simplex, i + 1);
    }
}

void seedStencil(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                 double defaultEdgeLength, double scale, KrReArray& stencil) {
    stencil.resizeArray(2 * n + 1, n);
    copyStart(start, stencil[0]);
    for (KrU32 i = 0; i < n; ++i) {
        double const width = scale * edgeLength(edgeLengths, defaultEdgeLength, i);
        moveAlong(i, width, stencil, i + 1);
        moveAlong(i, -width, stencil, n + 1 + i);
    }
}

void evaluateBatch(double sign, KrScalarMultivariableFunction const& f,
                   std::vector<KrRealVector> const& points, KrRealVector& values) {
    f.evaluateMultiple(points, values);
    // A client's override may forget to size the list.
    values.resize(points.size(), std::numeric_limits<double>::quiet_NaN());
    for (double& value : values) {
        value *= sign;
    }
}

void findExtremes(KrRealVector const& values, KrU32& minIndex, KrU32& maxIndex) {
    minIndex = maxIndex = 0;
    if (values.size() < 2) {
        return;
    }
    // Conditional moves rather than branches: which way a comparison goes is hard
    // to predict in a small simplex.
    double smallest = values[0];
    double largest = values[0];
    KrU32 smallestIndex = 0;
    KrU32 largestIndex = 0;
    auto const count = static_cast<KrU32>(values.size());
    for (KrU32 i = 1; i < count; ++i) {
        double const value = values[i];
        bool const below = value < smallest;
        bool const above = value > largest;
        smallest = below ? value : smallest;
        smallestIndex = below ? i : smallestIndex;
        largest = above ? value : largest;
        largestIndex = above ? i : largestIndex;
    }
    minIndex = smallestIndex;
    maxIndex = largestIndex;
}

KrU32 minIndexOf(KrRealVector const& values) {
    KrU32 minIndex = 0;
    KrU32 maxIndex = 0;
    findExtremes(values, minIndex, maxIndex);
    return minIndex;
}

}  // namespace KrSearch
