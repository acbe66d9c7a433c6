#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrMinimisingOptimizer.h"

#include <cstdint>

/// The multidirectional search of Torczon: a simplex method that moves all
/// vertices but the best at once, so that every evaluation comes in a batch.
///
/// The simplex has n+1 vertices, the start point and one point along each
/// coordinate. A step reflects the other vertices through the best one. When a
/// reflected point beats the best vertex, the reflection or its expansion takes
/// the place of the simplex, whichever has the lower value; otherwise the simplex
/// contracts towards its best vertex. A search ends when the values of the worst
/// and the best vertex differ by less than `stoppingThreshold`, or when the budget
/// is spent.
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
/// The n+1 evaluations of the first simplex are not charged to
/// `maxFunctionEvaluations`; a step makes 2n and is finished. Of a start point that
/// is longer than the dimension the first components count, a shorter one is
/// filled with zeros. Where a reflected point compares with no order to the best
/// value, being NaN, the simplex contracts. Nothing is ever reported.
///
/// Cost beyond the function: about 3n operations an evaluation, and no allocation but
/// in an object's first search of a dimension; 4n² doubles of memory.
///
/// Source: V. Torczon, "Multi-directional search: a direct search algorithm for
/// parallel machines", thesis, Rice University (1989).
class KR_EXPORT KrMultidirectionalSearchOptimizer
    : public KrTaggedElement<KrMultidirectionalSearchOptimizer,
                             KrMinimisingOptimizer<KrMultidirectionalSearchOptimizer>,
                             KrFunction::KrMultidirectionalSearchToken> {
public:
    /// Reflection coefficient: a reflected point is (1 + alpha) best - alpha vertex.
    virtual double alpha() const { return alpha_; }
    virtual void setAlpha(double alpha) { alpha_ = alpha; }
    /// Contraction coefficient: (1 - beta) best + beta vertex.
    virtual double beta() const { return beta_; }
    virtual void setBeta(double beta) { beta_ = beta; }
    /// Expansion coefficient: (1 + gamma) best - gamma vertex.
    virtual double gamma() const { return gamma_; }
    virtual void setGamma(double gamma) { gamma_ = gamma; }
    /// The search ends when worst minus best value falls below it.
    virtual double stoppingThreshold() const { return stoppingThreshold_; }
    virtual void setStoppingThreshold(double threshold) { stoppingThreshold_ = threshold; }
    /// Most evaluations after the first simplex; a step in progress is finished.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// Edge length of the first simplex along coordinate i.
    virtual KrXmlRealVector const& simplexEdgeLengths() const { return simplexEdgeLengths_; }
    virtual void setSimplexEdgeLengths(KrXmlRealVector const& lengths) {
        simplexEdgeLengths_ = lengths;
    }
    /// Edge length along each coordinate that `simplexEdgeLengths` does not reach.
    virtual double defaultSimplexEdgeLength() const { return defaultSimplexEdgeLength_; }
    virtual void setDefaultSimplexEdgeLength(double length) { defaultSimplexEdgeLength_ = length; }

    // The steps of a search, on the working state; `sign` is +1.0 in a search for
    // a minimum and -1.0 in one for a maximum.

    /// Builds and evaluates the simplex at `start`, with `scale` times the edge
    /// lengths.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;
    /// One step. Sets `done` when the search is to end; returns the best signed
    /// value. In no dimensions 0.0, and `done` stays as it was.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Finds the best and the worst vertex; of equal ones the lowest index.
    virtual void findMaxAndMin() const;
    /// The index of the smallest value, the lowest of equal ones.
    virtual KrU32 findMinIndex(KrRealVector const& values) const;
    /// Puts `points`, with their signed values, in the places of all vertices but
    /// the best. What the search itself has tried is not copied: those points and
    /// the vertices change places.
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
