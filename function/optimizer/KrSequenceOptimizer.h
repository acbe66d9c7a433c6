#pragma once

#include "foundation/core/KrMember.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "function/object/KrFunction.h"
#include "function/object/KrScalarMultivariableOptimizerVector.h"
#include "function/optimizer/KrMinimisingOptimizer.h"

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
/// As a chain (`executeInParallel` false) each optimizer starts where the one
/// before it stopped, and the answer is that of the last, be it the best or not.
/// As a tournament (true) all optimizers of a pass start from the same point, the
/// next pass from the best point found so far, and the answer is the best; the
/// earlier of equal ones. It is the starts that are parallel: the optimizers run
/// one after another in the calling thread.
///
/// Without an optimizer or a pass the answer is the start point. A tournament
/// without a value below 1e300 (in a search for a maximum, above -1e300) answers
/// with that number and the start point. What a start point of another length than
/// the dimension becomes is the optimizers' affair.
///
/// Cost beyond the optimizers: none.
class KR_EXPORT KrSequenceOptimizer
    : public KrTaggedElement<KrSequenceOptimizer, KrMinimisingOptimizer<KrSequenceOptimizer>,
                             KrFunction::KrSequenceOptimizerToken> {
public:
    /// How often the whole list is run; 1 by default.
    virtual KrU32 numberPasses() const { return numberPasses_; }
    virtual void setNumberPasses(KrU32 passes) { numberPasses_ = passes; }
    /// The optimizers in the order in which they run.
    virtual KrScalarMultivariableOptimizerVector const& optimizerSequence() const {
        return optimizerSequence_;
    }
    virtual void setOptimizerSequence(KrScalarMultivariableOptimizerVector const& optimizers) {
        optimizerSequence_ = optimizers;
    }
    /// Whether all optimizers of a pass start from the same point; false by default.
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
    // The last member, since a sequence may be assigned one of its own list, which
    // is gone as soon as the list is.
    KrScalarMultivariableOptimizerVector optimizerSequence_;
};
