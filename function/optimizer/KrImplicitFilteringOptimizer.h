#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/object/KrFunction.h"
#include "function/optimizer/KrMinimisingOptimizer.h"

#include <cstdint>

/// Implicit filtering: steepest descent on central differences whose width
/// shrinks as the search comes closer, so that noise on a smaller scale than the
/// differences is filtered out.
///
/// The function is sampled on a stencil of 2n+1 points, a centre and one point
/// forward and backward along each coordinate. A step forms the difference
/// gradient g and tries centre - lambda g, for lambda cut by `lineSearchBeta`
/// until the value falls by more than lineSearchAlpha lambda g2. The stencil is
/// rebuilt around the best point; it shrinks when the line search failed, or when
/// the gradient is small, (tau h)² > g2 for the largest width h. A search ends when
/// the budget is spent.
///
///     <implicitFiltering>
///       <lineSearchAlpha>1e-04</lineSearchAlpha>      sufficient decrease
///       <lineSearchBeta>0.5</lineSearchBeta>          of lambda, per trial
///       <lineSearchMaxIterations>25</lineSearchMaxIterations>
///       <lineSearchInitialLambdaMultiplier>10</lineSearchInitialLambdaMultiplier>
///       <tau>0.01</tau>                               small gradient
///       <simplexScaleFactor>0.5</simplexScaleFactor>  of the stencil, per shrink
///       <maxFunctionEvaluations>300</maxFunctionEvaluations>
///       <simplexEdgeLengths count="0"/>               in units of the coordinates
///       <defaultSimplexEdgeLength>0.01</defaultSimplexEdgeLength>
///     </implicitFiltering>
///
/// g2 is the square of the last gradient component whose width is not zero, not
/// the squared length of the gradient: with the coordinates in another order the
/// same problem takes other steps.
///
/// The evaluations of the first stencil are not charged to
/// `maxFunctionEvaluations`, the rebuilt ones are; a line search and the stencil
/// after it are finished. Of a start point that is longer than the dimension the
/// first components count, a shorter one is filled with zeros. A coordinate whose
/// edge length is zero is never moved. A NaN is rejected as a trial value. Nothing
/// is ever reported.
///
/// Cost beyond the function: n operations an evaluation of the stencil, 2n a trial,
/// and no allocation but in an object's first search of a dimension; 2n² doubles of
/// memory.
///
/// Source: P. Gilmore and C. T. Kelley, "An implicit filtering algorithm for
/// optimization of functions with many local minima", SIAM Journal on Optimization
/// 5 (1995).
class KR_EXPORT KrImplicitFilteringOptimizer
    : public KrTaggedElement<KrImplicitFilteringOptimizer,
                             KrMinimisingOptimizer<KrImplicitFilteringOptimizer>,
                             KrFunction::KrImplicitFilteringToken> {
public:
    /// Factor of the decrease that a line search asks for.
    virtual double lineSearchAlpha() const { return lineSearchAlpha_; }
    virtual void setLineSearchAlpha(double alpha) { lineSearchAlpha_ = alpha; }
    /// Factor of the step length after a trial that was rejected.
    virtual double lineSearchBeta() const { return lineSearchBeta_; }
    virtual void setLineSearchBeta(double beta) { lineSearchBeta_ = beta; }
    /// Most trials of one line search; with 0 the stencil only shrinks.
    virtual KrU32 lineSearchMaxIterations() const { return lineSearchMaxIterations_; }
    virtual void setLineSearchMaxIterations(KrU32 count) { lineSearchMaxIterations_ = count; }
    /// Factor of the small-gradient test.
    virtual double tau() const { return tau_; }
    virtual void setTau(double tau) { tau_ = tau; }
    /// Most evaluations after the first stencil; a step in progress is finished.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// Half the width of the first stencil along coordinate i.
    virtual KrXmlRealVector const& simplexEdgeLengths() const { return simplexEdgeLengths_; }
    virtual void setSimplexEdgeLengths(KrXmlRealVector const& lengths) {
        simplexEdgeLengths_ = lengths;
    }
    /// The same for each coordinate that `simplexEdgeLengths` does not reach.
    virtual double defaultSimplexEdgeLength() const { return defaultSimplexEdgeLength_; }
    virtual void setDefaultSimplexEdgeLength(double length) { defaultSimplexEdgeLength_ = length; }
    /// Factor of the stencil's widths when it shrinks.
    virtual double simplexScaleFactor() const { return simplexScaleFactor_; }
    virtual void setSimplexScaleFactor(double factor) { simplexScaleFactor_ = factor; }
    /// The first step length is this over the largest |gradient / width|.
    virtual double lineSearchInitialLambdaMultiplier() const {
        return lineSearchInitialLambdaMultiplier_;
    }
    virtual void setLineSearchInitialLambdaMultiplier(double multiplier) {
        lineSearchInitialLambdaMultiplier_ = multiplier;
    }

    // The steps of a search, on the working state; `sign` is +1.0 in a search for
    // a minimum and -1.0 in one for a maximum.

    /// Builds and evaluates the stencil around `start`, with `scale` times the edge
    /// lengths.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;
    /// One gradient and line search. Sets `done` to whether the stencil is to
    /// shrink; returns the best signed value.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Finds the best and the worst of the values at the stencil.
    virtual void findMaxAndMin() const;
    /// The index of the smallest value, the lowest of equal ones.
    virtual KrU32 findMinIndex(KrRealVector const& values) const;

    void registerComponents() override;

    bool operator==(KrImplicitFilteringOptimizer const&) const = default;

private:
    friend class KrMinimisingOptimizer<KrImplicitFilteringOptimizer>;

    struct State {
        KrReArray stencil;    // the centre, n points forward, n points backward
        KrRealVector values;  // signed value of each
        KrRealVector gradient;
        KrRealVector trialPoint;
        KrRealVector bestPoint;
        double bestValue = 0.0;
        KrU32 minIndex = 0;
        KrU32 maxIndex = 0;
    };

    // What a step needs from the differences besides the gradient.
    struct Slope {
        double largestWidth = 0.0;
        double squared = 0.0;    // of the last component with a width
        double steepness = 0.0;  // the largest |gradient / width|
    };

    double search(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                  KrRealVector& result) const;
    Slope differenceGradient() const;

    KrXmlBasicType<double> lineSearchAlpha_{1e-4};
    KrXmlBasicType<double> lineSearchBeta_{0.5};
    KrXmlBasicType<KrU32> lineSearchMaxIterations_{25};
    KrXmlBasicType<double> lineSearchInitialLambdaMultiplier_{10.0};
    KrXmlBasicType<double> tau_{0.01};
    KrXmlBasicType<double> simplexScaleFactor_{0.5};
    KrXmlBasicType<KrU32> maxFunctionEvaluations_{300};
    KrXmlRealVector simplexEdgeLengths_;
    KrXmlBasicType<double> defaultSimplexEdgeLength_{0.01};

    mutable KrScratch<State> state_;
    mutable KrUncompared<std::uint64_t> evaluations_;  // charged to the budget
};
