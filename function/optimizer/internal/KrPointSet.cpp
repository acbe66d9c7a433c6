#include "function/optimizer/internal/KrPointSet.h"

#include <algorithm>
#include <limits>
#include <new>

KR_SOURCE_VERSION;

namespace {

// Copies the components that both points have; the others become 0.
void copyStart(KrRealVector const& start, KrRealVector& point) {
    std::size_t const common = std::min(start.size(), point.size());
    auto const rest = std::copy_n(start.begin(), common, point.begin());
    std::fill(rest, point.end(), 0.0);
}

// Makes row `row` a copy of row 0, displaced along coordinate `i` by `step`.
void displace(KrU32 i, double step, KrReArray& points, KrU32 row) {
    KrRealVector& point = points[row];
    std::copy(points[0].begin(), points[0].end(), point.begin());
    point[i] += step;
}

// Throws if 2n+1 overflows an index, as with a client's dimension of -1. No memory could
// hold so many points.
void rejectHugeDimension(KrU32 n) {
    if (n > std::numeric_limits<KrU32>::max() / 2) {
        throw std::bad_alloc();
    }
}

}  // namespace

namespace KrPointSet {

void buildSimplex(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                  double defaultEdgeLength, double scale, KrReArray& simplex) {
    rejectHugeDimension(n);
    simplex.resizeArray(n + 1, n);
    copyStart(start, simplex[0]);
    for (KrU32 i = 0; i < n; ++i) {
        displace(i, scale * edgeLength(edgeLengths, defaultEdgeLength, i), simplex, i + 1);
    }
}

void buildStencil(KrU32 n, KrRealVector const& start, KrXmlRealVector const& edgeLengths,
                  double defaultEdgeLength, double scale, KrReArray& stencil) {
    rejectHugeDimension(n);
    stencil.resizeArray(2 * n + 1, n);
    copyStart(start, stencil[0]);
    for (KrU32 i = 0; i < n; ++i) {
        double const width = scale * edgeLength(edgeLengths, defaultEdgeLength, i);
        displace(i, width, stencil, i + 1);
        displace(i, -width, stencil, n + 1 + i);
    }
}

void evaluate(double sign, KrScalarMultivariableFunction const& f,
              std::vector<KrRealVector> const& points, KrRealVector& values) {
    // A client's override may fill the list in place, or leave it at a wrong size.
    constexpr double notEvaluated = std::numeric_limits<double>::quiet_NaN();
    values.assign(points.size(), notEvaluated);
    f.evaluateMultiple(points, values);
    values.resize(points.size(), notEvaluated);
    for (double& value : values) {
        value *= sign;
    }
}

void findExtremes(KrRealVector const& values, KrU32& minIndex, KrU32& maxIndex) {
    KrU32 lowest = 0;
    KrU32 highest = 0;
    double smallest = values.empty() ? 0.0 : values[0];
    double largest = smallest;
    // Without branches: a processor cannot predict which value is the next extreme.
    for (KrU32 i = 1; i < values.size(); ++i) {
        double const value = values[i];
        lowest = value < smallest ? i : lowest;
        smallest = value < smallest ? value : smallest;
        highest = value > largest ? i : highest;
        largest = value > largest ? value : largest;
    }
    minIndex = lowest;
    maxIndex = highest;
}

KrU32 minIndexOf(KrRealVector const& values) {
    KrU32 minIndex = 0;
    KrU32 maxIndex = 0;
    findExtremes(values, minIndex, maxIndex);
    return minIndex;
}

}  // namespace KrPointSet
