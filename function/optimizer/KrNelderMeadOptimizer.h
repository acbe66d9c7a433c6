#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrMinimisingOptimizer.h"

#include <cstdint>
#include <vector>

/// The simplex method of Nelder and Mead, with a test that rebuilds the simplex
/// around its best vertex when progress stalls.
///
/// The simplex has n+1 vertices, the start point and one point along each
/// coordinate. A step replaces the worst vertex by its reflection through the
/// mean c of the others, by a point farther out (expansion), or by one nearer to
/// c (contraction), or else shrinks the simplex towards the best vertex. A search
/// ends when the values of the worst and the best vertex differ by less than
/// `stoppingThreshold`, or when a budget is spent.
///
///     <nelderMead>
///       <alpha>1</alpha>
///       <beta>0.5</beta>
///       <gamma>2</gamma>
///       <sigma>0.5</sigma>
///       <stoppingThreshold>1e-05</stoppingThreshold>
///       <maxTotalSteps>200</maxTotalSteps>
///       <maxFunctionEvaluations>300</maxFunctionEvaluations>
///       <maxExpansionSteps>100</maxExpansionSteps>
///       <restartCheckPeriod>25</restartCheckPeriod>
///       <eta>1e-04</eta>
///       <simplexEdgeLengths count="2"><item>0.5</item><item>0.25</item></simplexEdgeLengths>
///       <defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength>
///     </nelderMead>
///
/// Edge lengths are in units of the coordinates, the threshold in units of the
/// function. Once more than `restartCheckPeriod` evaluations were made since the
/// simplex was built, every step is followed by a test: a restart is made when, of the
/// vertices v(i) with values F(i),
///
///     eta max (F(i) - F(best))² / |v(i) - v(best)|²  >  fall of F(worst) in the last step
///
/// The n+1 evaluations of the first simplex are not charged to
/// `maxFunctionEvaluations`; those of a restart are. Of a start point that is
/// longer than the dimension the first components count, a shorter one is filled
/// with zeros. A NaN compares as no improvement. Nothing is ever reported.
///
/// Cost beyond the function: about 8n operations a step, and as many for the restart
/// test where most vertices are decided early; 2n² a shrink or restart; no allocation
/// but in an object's first search of a dimension; (n+1)² doubles of memory.
///
/// Sources: J. A. Nelder and R. Mead, "A simplex method for function
/// minimization", The Computer Journal 7 (1965); the restart test after C. T.
/// Kelley, "Detection and remediation of stagnation in the Nelder-Mead
/// algorithm", SIAM Journal on Optimization 10 (1999).
class KR_EXPORT KrNelderMeadOptimizer
    : public KrTaggedElement<KrNelderMeadOptimizer, KrMinimisingOptimizer<KrNelderMeadOptimizer>,
                             KrFunction::KrNelderMeadToken> {
public:
    /// Reflection coefficient: the reflected point is (1 + alpha) c - alpha worst.
    virtual double alpha() const { return alpha_; }
    virtual void setAlpha(double alpha) { alpha_ = alpha; }
    /// Contraction coefficient: the contracted point is beta base + (1 - beta) c.
    virtual double beta() const { return beta_; }
    virtual void setBeta(double beta) { beta_ = beta; }
    /// Expansion coefficient: gamma reflected + (1 - gamma) c.
    virtual double gamma() const { return gamma_; }
    virtual void setGamma(double gamma) { gamma_ = gamma; }
    /// What a vertex keeps of itself when the simplex shrinks to the best one.
    virtual double sigma() const { return sigma_; }
    virtual void setSigma(double sigma) { sigma_ = sigma; }
    /// The search ends when worst minus best value falls below it.
    virtual double stoppingThreshold() const { return stoppingThreshold_; }
    virtual void setStoppingThreshold(double threshold) { stoppingThreshold_ = threshold; }
    /// Most steps of one search.
    virtual KrU32 maxTotalSteps() const { return maxTotalSteps_; }
    virtual void setMaxTotalSteps(KrU32 steps) { maxTotalSteps_ = steps; }
    /// Most evaluations after the first simplex; a step in progress is finished.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// The restart test is made once more evaluations than this were made since
    /// the simplex was last built.
    virtual KrU32 restartCheckPeriod() const { return restartCheckPeriod_; }
    virtual void setRestartCheckPeriod(KrU32 period) { restartCheckPeriod_ = period; }
    /// Factor of the decrease that the restart test expects.
    virtual double eta() const { return eta_; }
    virtual void setEta(double eta) { eta_ = eta; }
    /// Most expansions that one search accepts; after them reflections are
    /// accepted instead.
    virtual KrU32 maxExpansionSteps() const { return maxExpansionSteps_; }
    virtual void setMaxExpansionSteps(KrU32 steps) { maxExpansionSteps_ = steps; }
    /// Edge length of a new simplex along coordinate i.
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
    /// value.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Puts `point`, of `n` components, with its signed value in the place of the
    /// worst vertex.
    virtual void exchangeHighVertex(KrU32 n, KrRealVector const& point, double value) const;
    /// The same, and then shrinks the simplex towards its best vertex.
    virtual void exchangeHighVertexAndContract(double sign, KrScalarMultivariableFunction const& f,
                                               KrU32 n, KrRealVector const& point,
                                               double value) const;
    /// Finds the best and the worst vertex; of equal ones the lowest index.
    virtual void findMaxAndMin() const;
    /// The centroid c: the mean of all vertices but the worst.
    virtual void calculateVertexMeanExcludingMaxPoint() const;
    /// The restart test, and the restart.
    virtual void restartIfNeeded(double const& sign, KrScalarMultivariableFunction const& f) const;

    void registerComponents() override;

    bool operator==(KrNelderMeadOptimizer const&) const = default;

private:
    friend class KrMinimisingOptimizer<KrNelderMeadOptimizer>;

    // Squared distances of the vertices from one vertex, each summed as far as a test needed.
    // A distance stays valid until one of the two vertices moves.
    struct Distances {
        static constexpr KrU32 none = 0xffffffff;

        void measureFrom(KrU32 vertex, KrU32 count);
        void invalidate(KrU32 vertex);
        void clear() { origin = none; }

        KrU32 origin = none;
        KrRealVector sum;
        std::vector<KrU32> summed;  // number of components in each sum
    };

    struct State {
        KrReArray simplex;            // row i is vertex i
        KrRealVector values;          // signed value of each vertex
        KrRealVector centroid;        // mean of all vertices but the worst
        double centroidWeight = 0.0;  // 1/n, of one vertex in the centroid
        KrRealVector reflected;
        KrRealVector expanded;
        KrRealVector contracted;
        KrRealVector restartPoint;
        KrU32 minIndex = 0;  // the best vertex
        KrU32 maxIndex = 0;  // the worst vertex
        std::uint64_t expansions = 0;
        std::uint64_t evaluationsSinceRestart = 0;
        // The worst value after the last step. It outlasts a search: the next one reads it
        // if its restart test is due after the first step.
        double previousWorstValue = 0.0;
        Distances distances;
        KrRealVector slopes;  // squared, from the best vertex
    };

    double search(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                  KrRealVector& result) const;
    double evaluate(double sign, KrScalarMultivariableFunction const& f,
                    KrRealVector const& point) const;
    bool hasStalled() const;
    double largestSquaredSlope(double eta, double decrease) const;
    double squaredSlope(KrU32 vertex) const;
    void sumDistance(KrU32 vertex, KrU32 count) const;

    KrXmlBasicType<double> alpha_{1.0};
    KrXmlBasicType<double> beta_{0.5};
    KrXmlBasicType<double> gamma_{2.0};
    KrXmlBasicType<double> sigma_{0.5};
    KrXmlBasicType<double> stoppingThreshold_{1e-5};
    KrXmlBasicType<KrU32> maxTotalSteps_{200};
    KrXmlBasicType<KrU32> maxFunctionEvaluations_{300};
    KrXmlBasicType<KrU32> maxExpansionSteps_{100};
    KrXmlBasicType<KrU32> restartCheckPeriod_{25};
    KrXmlBasicType<double> eta_{1e-4};
    KrXmlRealVector simplexEdgeLengths_;
    KrXmlBasicType<double> defaultSimplexEdgeLength_{0.01};

    mutable KrScratch<State> state_;
    mutable KrUncompared<std::uint64_t> evaluations_;  // charged to the budget
};
