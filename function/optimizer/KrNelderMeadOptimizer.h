#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/optimizer/KrMinimisingOptimizer.h"
#include "function/optimizer/KrOptimizerTokens.h"

#include <cstdint>
#include <vector>

/// The simplex method of Nelder and Mead, with a test that rebuilds the simplex
/// around its best vertex when progress stalls.
///
/// The simplex has n+1 vertices: the start point and one point along each coordinate. A
/// step reflects the worst vertex through the mean c of the others. If that is the best
/// point so far, the step tries a point farther out (expansion). If it is the worst, the
/// step tries a point nearer to c (contraction). If that fails too, the simplex shrinks
/// towards its best vertex. A search ends when the worst and the best value differ by less
/// than `stoppingThreshold`, or when a budget is spent.
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
/// Each step is followed by a restart test if more than `restartCheckPeriod` evaluations
/// were made since the simplex was built. The vertices v(i) have values F(i). If the test
/// holds, the simplex is rebuilt around its best vertex:
///
///     eta max (F(i) - F(best))² / |v(i) - v(best)|²  >  fall of F(worst) in the last step
///
/// The n+1 evaluations of the first simplex are not charged to `maxFunctionEvaluations`;
/// those of a restart are. A start point that is too long loses its last components; one
/// that is too short is filled with zeros. The search reports nothing.
///
/// A NaN is neither below nor above any value. If the first vertex becomes NaN, it counts as
/// the best, and the result may be NaN. `KrSearch` passes `failureValue` instead of a NaN.
///
/// If the restart test is due after the first step, it uses the worst value of the object's
/// last search, or 0 in a new object and in a clone. The steps may differ then.
///
/// Cost beyond the function: about 8n operations per step, as many per restart test, and
/// 2n² per shrink or restart. Only the first search of a dimension allocates: (n+1)²
/// doubles.
///
/// Sources: J. A. Nelder and R. Mead, "A simplex method for function
/// minimization", The Computer Journal 7 (1965); the restart test after C. T.
/// Kelley, "Detection and remediation of stagnation in the Nelder-Mead
/// algorithm", SIAM Journal on Optimization 10 (1999).
///
/// One thread at a time uses an object.
class KR_EXPORT KrNelderMeadOptimizer
    : public KrTaggedElement<KrNelderMeadOptimizer, KrMinimisingOptimizer<KrNelderMeadOptimizer>,
                             KrFunction::KrNelderMeadToken> {
public:
    /// Reflection coefficient: the reflected point is (1 + alpha) c - alpha worst.
    /// Range: alpha > 0, dimensionless; 1 by default. If alpha <= 0, the point does not pass c, and
    /// the search stalls. If alpha is NaN or infinite, every trial point is NaN, and the result may
    /// be too. Keep the default: 0.5 took five times the evaluations on Rosenbrock's function.
    virtual double alpha() const { return alpha_; }
    virtual void setAlpha(double alpha) { alpha_ = alpha; }
    /// Contraction coefficient: the contracted point is beta base + (1 - beta) c.
    /// The base is the better one of the reflected point and the worst vertex. Range: 0 < beta < 1,
    /// dimensionless; 0.5 by default. With 0 the simplex becomes flat and the search stalls. A
    /// negative value contracts to the other side of c. If |beta| >= 1, contractions do not reduce
    /// the simplex; if beta is NaN or infinite, they fail. Then the simplex shrinks instead. Keep
    /// the default, also for large n.
    virtual double beta() const { return beta_; }
    virtual void setBeta(double beta) { beta_ = beta; }
    /// Expansion coefficient: the expanded point is gamma reflected + (1 - gamma) c.
    /// Range: gamma > 1, dimensionless; 2 by default. With 1 an expansion evaluates the reflected
    /// point again. Values from 0 to 1 reduce the step, and the search stalls. If gamma is
    /// negative, NaN or infinite, expansions fail at one evaluation each. Keep the default, also
    /// for large n.
    virtual double gamma() const { return gamma_; }
    virtual void setGamma(double gamma) { gamma_ = gamma; }
    /// Shrink coefficient: a vertex moves to sigma vertex + (1 - sigma) best.
    /// Range: 0 < sigma < 1, dimensionless; 0.5 by default. With 0 all vertices coincide and the
    /// search stalls. If |sigma| >= 1, the simplex does not shrink. A negative value mirrors the
    /// vertices as well. If sigma is NaN or infinite, the vertices become NaN, and the result may
    /// be too. Keep the default, also for large n.
    virtual double sigma() const { return sigma_; }
    virtual void setSigma(double sigma) { sigma_ = sigma; }
    /// The search ends when the worst minus the best value is below this threshold.
    /// Range: threshold >= 0, in units of the function; 1e-5 by default. With 0, a negative value
    /// or NaN only the budgets end the search. With infinity the search ends after one step. The
    /// threshold is absolute: set it to the smallest difference of values that matters to you.
    virtual double stoppingThreshold() const { return stoppingThreshold_; }
    virtual void setStoppingThreshold(double threshold) { stoppingThreshold_ = threshold; }
    /// Largest number of steps of one search.
    /// Range: 1 to 4294967295; 200 by default. With 0 only the first simplex is evaluated. A
    /// restart is not a step. Set it to the budget or more if the budget shall end the search.
    virtual KrU32 maxTotalSteps() const { return maxTotalSteps_; }
    virtual void setMaxTotalSteps(KrU32 steps) { maxTotalSteps_ = steps; }
    /// Largest number of evaluations after the first simplex.
    /// Range: 1 to 4294967295; 300 by default. With 0 one step is made. A step that has begun is
    /// finished: a search exceeds its budget by at most n + 2, most of them a restart's. Set it to
    /// 50 (n + 1) or more.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// The restart test runs after more than this number of evaluations on a simplex.
    /// Range: 0 to 4294967295; 25 by default. The n + 1 evaluations of the simplex count. With 0
    /// every step runs the test; the largest value disables it. Increase it to 40 (n + 1): an early
    /// restart loses the shape of the simplex.
    virtual KrU32 restartCheckPeriod() const { return restartCheckPeriod_; }
    virtual void setRestartCheckPeriod(KrU32 period) { restartCheckPeriod_ = period; }
    /// Factor of the decrease that the restart test expects.
    /// The test compares eta (F(i) - F(best))² / |v(i) - v(best)|² with the decrease. Range: eta >=
    /// 0, in units of coordinate² / function; 1e-4 by default. With 0 or less, only a rise of the
    /// worst value restarts. NaN disables the test. With infinity every test restarts unless all
    /// values are equal. Decrease it if restarts spend the budget.
    virtual double eta() const { return eta_; }
    virtual void setEta(double eta) { eta_ = eta; }
    /// Largest number of expansions that one search accepts; then it reflects.
    /// Range: 0 to 4294967295; 100 by default. With 0 expanded points are still evaluated, but
    /// never accepted. Set it to the budget or more if the start is far from the minimum.
    virtual KrU32 maxExpansionSteps() const { return maxExpansionSteps_; }
    virtual void setMaxExpansionSteps(KrU32 steps) { maxExpansionSteps_ = steps; }
    /// Edge length of a new simplex along coordinate i.
    /// Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are
    /// ignored. With 0 the search never moves along the coordinate. A negative length puts the
    /// vertex behind the start. NaN or infinite lengths spoil the search, and the result may be
    /// NaN. Set it to about a tenth of the coordinate's size.
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
    /// Makes one step and returns the best signed value. Sets `done` to whether the search ends.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Replaces the worst vertex by `point`, of `n` components, with its signed value.
    virtual void exchangeHighVertex(KrU32 n, KrRealVector const& point, double value) const;
    /// Replaces the worst vertex and then shrinks the simplex towards its best vertex.
    virtual void exchangeHighVertexAndContract(double sign, KrScalarMultivariableFunction const& f,
                                               KrU32 n, KrRealVector const& point,
                                               double value) const;
    /// Finds the best and the worst vertex, the lowest index of equal ones.
    virtual void findMaxAndMin() const;
    /// Computes the centroid c: the mean of all vertices but the worst.
    virtual void calculateVertexMeanExcludingMaxPoint() const;
    /// Runs the restart test if it is due, and restarts if it holds.
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
