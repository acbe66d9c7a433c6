#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/math/KrReArray.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "foundation/xml/KrXmlVectorType.h"
#include "function/optimizer/KrMinimisingOptimizer.h"
#include "function/optimizer/KrOptimizerTokens.h"

#include <cstdint>

/// Implicit filtering: steepest descent on central differences whose width
/// shrinks as the search comes closer, so that noise on a smaller scale than the
/// differences is filtered out.
///
/// A stencil has 2n+1 points: a centre x, and one point forward and backward along each
/// coordinate. A step forms the difference gradient g and tries x - lambda g. It
/// multiplies lambda by `lineSearchBeta` until the value falls by more than
/// lineSearchAlpha lambda g2. Then the stencil is rebuilt around the best point. It shrinks
/// if the line search failed, or if the gradient is small: (tau h)² > g2 for the largest
/// width h. A search ends when the budget is spent.
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
/// g2 is the square of the last gradient component whose width is not zero, not the squared
/// length of the gradient. So the order of the coordinates affects the steps.
///
/// The evaluations of the first stencil are not charged to `maxFunctionEvaluations`; those
/// of later ones are. A line search that has begun and the stencil after it are finished. A
/// start point that is too long loses its last components; one that is too short is filled
/// with zeros. A trial value of NaN is rejected. The search reports nothing.
///
/// Cost beyond the function: n operations per point of a stencil, and 2n per trial. Only the
/// first search of a dimension allocates: 2n² doubles.
///
/// Source: P. Gilmore and C. T. Kelley, "An implicit filtering algorithm for
/// optimization of functions with many local minima", SIAM Journal on Optimization
/// 5 (1995).
///
/// One thread at a time uses an object.
class KR_EXPORT KrImplicitFilteringOptimizer
    : public KrTaggedElement<KrImplicitFilteringOptimizer,
                             KrMinimisingOptimizer<KrImplicitFilteringOptimizer>,
                             KrFunction::KrImplicitFilteringToken> {
public:
    /// Sufficient decrease: a step x - lambda g must gain more than lineSearchAlpha lambda g2.
    /// Range: 0 <= lineSearchAlpha < 1, dimensionless; 1e-4 by default. With 0 any decrease is
    /// enough. A negative value accepts increases. Values from 1 on, infinity and NaN reject most
    /// or all steps, and the stencil only shrinks. Increase it to 0.01 if noise is accepted as a
    /// decrease.
    virtual double lineSearchAlpha() const { return lineSearchAlpha_; }
    virtual void setLineSearchAlpha(double alpha) { lineSearchAlpha_ = alpha; }
    /// Factor of the step length lambda after each trial that is rejected.
    /// Range: 0 < lineSearchBeta < 1, dimensionless; 0.5 by default. With 0 and with 1 all further
    /// trials of a line search are the same point. Values above 1, NaN and infinity move away from
    /// the minimum, and only first trials succeed. A negative value changes sides at each trial.
    /// Decrease it to 0.25, with fewer trials, if line searches spend the budget.
    virtual double lineSearchBeta() const { return lineSearchBeta_; }
    virtual void setLineSearchBeta(double beta) { lineSearchBeta_ = beta; }
    /// Largest number of trials of one line search.
    /// Range: 1 to 4294967295; 25 by default. With 0 the stencil moves to its lowest point and
    /// shrinks. Decrease it to 8 if line searches spend the budget.
    virtual KrU32 lineSearchMaxIterations() const { return lineSearchMaxIterations_; }
    virtual void setLineSearchMaxIterations(KrU32 count) { lineSearchMaxIterations_ = count; }
    /// Small-gradient test: the stencil shrinks if (tau h)² > g2 for its largest width h.
    /// Range: tau >= 0, in units of function / coordinate²; 0.01 by default. With 0 and NaN only
    /// failed line searches shrink the stencil; with infinity every step does. The sign has no
    /// effect. Set it to about the curvature of the function below which its slope is noise.
    virtual double tau() const { return tau_; }
    virtual void setTau(double tau) { tau_ = tau; }
    /// Largest number of evaluations after the first stencil.
    /// Range: 1 to 4294967295; 300 by default. With 0 only the first stencil is evaluated. A line
    /// search that has begun and the stencil after it are finished. So a search may exceed its
    /// budget by `lineSearchMaxIterations` + 2n. Set it to 100 (n + 1) or more.
    virtual KrU32 maxFunctionEvaluations() const { return maxFunctionEvaluations_; }
    virtual void setMaxFunctionEvaluations(KrU32 count) { maxFunctionEvaluations_ = count; }
    /// Half the width of the first stencil along coordinate i.
    /// Range: finite and not 0, in units of coordinate i; empty by default. Lengths beyond n are
    /// ignored. With 0 the search never moves along the coordinate. The sign only exchanges the two
    /// sides. With NaN or infinity the gradient is NaN and line searches fail. Set it above the
    /// scale of the noise, to about a tenth of the coordinate's size.
    virtual KrXmlRealVector const& simplexEdgeLengths() const { return simplexEdgeLengths_; }
    virtual void setSimplexEdgeLengths(KrXmlRealVector const& lengths) {
        simplexEdgeLengths_ = lengths;
    }
    /// Half the width along each coordinate that `simplexEdgeLengths` does not list.
    /// Range: finite and not 0, in units of the coordinates; 0.01 by default. Other values act as
    /// in `simplexEdgeLengths`. Change it if the coordinates are of one size other than about 0.1.
    virtual double defaultSimplexEdgeLength() const { return defaultSimplexEdgeLength_; }
    virtual void setDefaultSimplexEdgeLength(double length) { defaultSimplexEdgeLength_ = length; }
    /// Factor of the stencil's widths when it shrinks.
    /// Range: 0 < simplexScaleFactor < 1, dimensionless; 0.5 by default. With 0, NaN and infinity
    /// all further steps fail. If the magnitude is 1 or more, the stencil does not shrink. The sign
    /// only exchanges the two sides. Try 0.75 if a search shrinks too early: it helped on Powell's
    /// function, and not on Rosenbrock's.
    virtual double simplexScaleFactor() const { return simplexScaleFactor_; }
    virtual void setSimplexScaleFactor(double factor) { simplexScaleFactor_ = factor; }
    /// The first lambda is this multiplier over the largest |gradient / width|.
    /// So the first trial moves the steepest coordinate by this number of widths. Range: multiplier
    /// > 0, dimensionless; 10 by default. If it is 0, negative, NaN or infinite, line searches
    /// fail, and the stencil moves to its lowest point and shrinks. Decrease it to 1 if most first
    /// trials are rejected.
    virtual double lineSearchInitialLambdaMultiplier() const {
        return lineSearchInitialLambdaMultiplier_;
    }
    virtual void setLineSearchInitialLambdaMultiplier(double multiplier) {
        lineSearchInitialLambdaMultiplier_ = multiplier;
    }

    // The steps of a search, on the working state. `sign` is +1.0 for a minimum and -1.0 for
    // a maximum.

    /// Builds and evaluates the stencil around `start`, with `scale` times the edge lengths.
    virtual void initialize(double sign, KrScalarMultivariableFunction const& f,
                            KrRealVector const& start, double scale) const;
    /// Makes one line search along the gradient and returns the best signed value. Sets `done`
    /// to whether the stencil shrinks.
    virtual double singleStep(double sign, KrScalarMultivariableFunction const& f,
                              bool& done) const;
    /// Finds the best and the worst value of the stencil, the lowest index of equal ones.
    virtual void findMaxAndMin() const;
    /// Returns the index of the smallest value, the lowest of equal ones.
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
