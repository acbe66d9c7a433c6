#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/optimizer/KrMinimisingOptimizer.h"
#include "function/optimizer/KrOptimizerTokens.h"

#include <cstdint>

/// The multidirectional search of Torczon: a simplex method that moves all
/// vertices but the best at once, so that every evaluation comes in a batch.
///
/// The simplex has n+1 vertices: the start point and one point along each coordinate. A
/// step reflects the other vertices through the best one. If a reflected point beats the
/// best vertex, the step tries an expansion and keeps the set with the lower value.
/// Otherwise the simplex contracts towards its best vertex. A search ends when the worst
/// and the best value differ by less than `stoppingThreshold`, or when the budget is spent.
///
///     <multidirectionalSearch>
///       <alpha>1</alpha>                              reflection
///       <beta>0.5</beta>                              contraction
///       <gamma>2</gamma>                              expansion
///       <stoppingThreshold>1e-05</stoppingThreshold>  in units of the function
///       <maxFunctionEvaluations>300</maxFunctionEvaluations>
///       <simplexEdgeLengths count="0"/>               in units of the coordinates
///       <defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength>
///     </multidirectionalSearch>
///
/// The n+1 evaluations of the first simplex are not charged to `maxFunctionEvaluations`. A
/// step of 2n that has begun is finished. A start point that is too long loses its last
/// components; one that is too short is filled with zeros. If the lowest reflected value is
/// NaN, the simplex contracts. If the first vertex becomes NaN, it counts as the best, and
/// the result may be NaN. `KrSearch` passes `failureValue` instead of a NaN. The search
/// reports nothing.
///
/// Cost beyond the function: about 3n operations per evaluation. Only the first search of a
/// dimension allocates: 4n² doubles.
///
/// Source: V. Torczon, "Multi-directional search: a direct search algorithm for
/// parallel machines", thesis, Rice University (1989).
///
/// One thread at a time uses an object.
class KR_EXPORT KrMultidirectionalSearchOptimizer
    : public KrTaggedElement<KrMultidirectionalSearchOptimizer,
                             KrMinimisingOptimizer<KrMultidirectionalSearchOptimizer>,
                             KrFunction::KrMultidirectionalSearchToken> {
public:
    /// Reflection coefficient: a reflected point is (1 + alpha) best - alpha vertex.
    /// Range: alpha > 0, dimensionless; 1 by default. With 0 all reflected points are the best
    /// vertex; the simplex only contracts. A negative value puts them on the side of the vertex. If
    /// alpha is NaN or infinite, reflections fail, and the simplex only contracts. Keep the
    /// default: 1 keeps the size of the simplex.
    virtual double alpha() const { return alpha_; }
    virtual void setAlpha(double alpha) { alpha_ = alpha; }
    /// Contraction coefficient: a contracted point is (1 - beta) best + beta vertex.
    /// Range: 0 < beta < 1, dimensionless; 0.5 by default. With 0 all vertices coincide. If |beta|
    /// >= 1, the simplex does not contract, and the search stalls. A negative value mirrors the
    /// vertices as well. If beta is NaN or infinite, the vertices become NaN, and the result may be
    /// too. Try 0.75 if the search stalls: it helped on Powell's function, and not on Rosenbrock's.
    virtual double beta() const { return beta_; }
    virtual void setBeta(double beta) { beta_ = beta; }
    /// Expansion coefficient: an expanded point is (1 + gamma) best - gamma vertex.
    /// Range: gamma > alpha, dimensionless; 2 by default. With alpha the reflected points are
    /// evaluated again. Below alpha, and for negative values, expansions reduce or mirror the
    /// simplex. If gamma is NaN or infinite, the vertices become NaN after the first success, and
    /// the search stalls. Keep the default: values from 1.2 to 3 gave similar results on Powell's
    /// function.
    virtual double gamma() const { return gamma_; }
    virtual void setGamma(double gamma) { gamma_ = gamma; }
    /// The search ends when the worst minus the best value is below this threshold.
    /// Range: threshold >= 0, in units of the function; 1e-5 by default. With 0, a negative value
    /// or NaN only the budget ends the search. With infinity the search ends after one step. The
    /// threshold is absolute: set it to the smallest difference of values that matters to you.
    virtual double stoppingThreshold() const { return stoppingThreshold_; }
    virtual void setStoppingThreshold(double threshold) { stoppingThreshold_ = threshold; }
    /// Largest number of evaluations after the first simplex.
    /// Range: 1 to 4294967295; 300 by default. With 0 only the first simplex is evaluated. A step
    /// of 2n that has begun is finished, so a search may exceed its budget by 2n - 1. Set it to 100
    /// (n + 1) or more.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// Edge length of the first simplex along coordinate i.
    /// Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are
    /// ignored. With 0 the search never moves along the coordinate. A negative length puts the
    /// vertex behind the start. With NaN or infinity the vertex is never finite, and the search may
    /// stall. Set it to about a tenth of the coordinate's size.
    virtual KrXmlRealVector const& simplexEdgeLengths() const { return simplexEdgeLengths_; }
    virtual void setSimplexEdgeLengths(KrXmlRealVector const& lengths) {
        simplexEdgeLengths_ = lengths;
    }
    /// Edge length along each coordinate that `simplexEdgeLengths` does not list.
    /// Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as
    /// in `simplexEdgeLengths`. Change it if the coordinates are of one size other than about 0.1.
    virtual double defaultSimplexEdgeLength() const { return defaultSimplexEdgeLength_; }
    virtual void setDefaultSimplexEdgeLength(double length) { defaultSimplexEdgeLength_ = length; }

    // The steps of a search, on the working state. `sign` is +1.0 for a minimum and -1.0 for
    // a maximum.

    /// Builds and evaluates the simplex at `start`, with `scale` times the edge lengths.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;
    /// Makes one step and returns the best signed value. Sets `done` to whether the search
    /// ends. In 0 dimensions returns 0.0 and leaves `done` as it is.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Finds the best and the worst vertex, the lowest index of equal ones.
    virtual void findMaxAndMin() const;
    /// Returns the index of the smallest value, the lowest of equal ones.
    virtual KrU32 findMinIndex(KrRealVector const& values) const;
    /// Replaces all vertices but the best by `points`, with their signed values. The search's
    /// own trial points are exchanged with the vertices, not copied.
    virtual void setNewData(KrReArray const& points, KrRealVector const& values) const;

    void registerComponents() override;

    bool operator==(KrMultidirectionalSearchOptimizer const&) const = default;

private:
    friend class KrMinimisingOptimizer<KrMultidirectionalSearchOptimizer>;

    // Trial points for the n vertices other than the best.
    struct TrialSet {
        KrReArray points;
        KrRealVector values;  // signed
    };

    struct State {
        KrReArray simplex;    // row i is vertex i
        KrRealVector values;  // signed value of each vertex
        TrialSet reflected;
        TrialSet expanded;
        TrialSet contracted;
        KrU32 minIndex = 0;  // the best vertex
        KrU32 maxIndex = 0;  // the worst vertex

        // The vertex that trial point j replaces.
        KrU32 trialVertex(KrU32 j) const { return j < minIndex ? j : j + 1; }
    };

    double search(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                  KrRealVector& result) const;
    void tryVertices(double sign, KrScalarMultivariableFunction const& f, double bestFactor,
                     double vertexFactor, TrialSet& trial) const;

    KrXmlBasicType<double> alpha_{1.0};
    KrXmlBasicType<double> beta_{0.5};
    KrXmlBasicType<double> gamma_{2.0};
    KrXmlBasicType<double> stoppingThreshold_{1e-5};
    KrXmlBasicType<KrU32> maxFunctionEvaluations_{300};
    KrXmlRealVector simplexEdgeLengths_;
    KrXmlBasicType<double> defaultSimplexEdgeLength_{0.01};

    mutable KrScratch<State> state_;
    mutable KrUncompared<std::uint64_t> evaluations_;  // charged to the budget
};
