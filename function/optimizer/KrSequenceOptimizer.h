#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/optimizer/KrMinimisingOptimizer.h"
#include "function/optimizer/KrOptimizerTokens.h"

/// Runs a list of optimizers, sequences among them, for a number of passes.
///
///     <sequenceOptimizer>
///       <numberPasses>2</numberPasses>
///       <optimizerSequence count="2">
///         <hookeJeeves> ... </hookeJeeves>
///         <nelderMead> ... </nelderMead>
///       </optimizerSequence>
///       <executeInParallel>false</executeInParallel>
///     </sequenceOptimizer>
///
/// In a chain (`executeInParallel` false) each optimizer starts where the one before it
/// stopped. The result is that of the last one, even if an earlier one was better.
///
/// In a tournament (true) all optimizers of a pass start from the same point, and the next
/// pass starts from the best point so far. The result is the best one, the earlier of equal
/// ones. The optimizers run one after another in the calling thread.
///
/// Without optimizers or passes the result is the start point. If a tournament finds no
/// value below 1e300 (for a maximum: above -1e300), it returns that number and the start
/// point. The start point goes to the optimizers as it is, of whatever length.
///
/// Cost beyond the optimizers: some copies of points.
///
/// One thread at a time uses an object.
class KR_EXPORT KrSequenceOptimizer
    : public KrTaggedElement<KrSequenceOptimizer, KrMinimisingOptimizer<KrSequenceOptimizer>,
                             KrFunction::KrSequenceOptimizerToken> {
public:
    /// Number of runs of the whole list.
    /// Range: 1 to 4294967295; 1 by default. With 0 the start point is evaluated and returned.
    /// Increase it if the optimizers profit from each other's results.
    virtual KrU32 numberPasses() const { return numberPasses_; }
    virtual void setNumberPasses(KrU32 passes) { numberPasses_ = passes; }
    /// The optimizers in the order in which they run.
    /// If the list is empty, as by default, the start point is evaluated and returned.
    virtual KrScalarMultivariableOptimizerVector const& optimizerSequence() const {
        return optimizerSequence_;
    }
    virtual void setOptimizerSequence(KrScalarMultivariableOptimizerVector const& optimizers) {
        optimizerSequence_ = optimizers;
    }
    /// Whether all optimizers of a pass start from the same point.
    /// The default is false, a chain. Set it to true for a function with several minima.
    virtual bool executeInParallel() const { return executeInParallel_; }
    virtual void setExecuteInParallel(bool parallel) { executeInParallel_ = parallel; }

    void registerComponents() override;

    bool operator==(KrSequenceOptimizer const&) const = default;

private:
    friend class KrMinimisingOptimizer<KrSequenceOptimizer>;

    struct State {
        KrRealVector passStart;
        KrRealVector candidate;
    };

    // Values are signed, as in the base.
    double search(double sign, KrScalarMultivariableFunction const& f, KrRealVector const& start,
                  KrRealVector& result) const;
    double runOne(KrU32 k, double sign, KrScalarMultivariableFunction const& f,
                  KrRealVector const& start, KrRealVector& result) const;
    double runChain(double sign, KrScalarMultivariableFunction const& f,
                    KrRealVector& result) const;
    double runTournament(double sign, KrScalarMultivariableFunction const& f,
                         KrRealVector& result) const;

    KrXmlBasicType<KrU32> numberPasses_{1};
    KrXmlBasicType<bool> executeInParallel_{false};
    mutable KrScratch<State> state_;
    // The last member: a sequence may be assigned from an element of its own list, and this
    // assignment destroys the element.
    KrScalarMultivariableOptimizerVector optimizerSequence_;
};
