#pragma once

#include "foundation/xml/KrBaseExpressionTreeElement.h"
#include "foundation/xml/KrElement.h"
#include "foundation/xml/KrXmlBasicType.h"
#include "function/multivariable/KrScalarMultivariableFunction.h"
#include "function/object/KrMultivariableConstraintVector.h"
#include "function/object/KrScalarMultivariableOptimizerContainer.h"
#include "search/KrSearchContext.h"
#include "search/KrSearchNames.h"
#include "search/KrSearchReport.h"
#include "search/KrSearchVariableVector.h"

#include <limits>
#include <string>

class KrEvaluationWorkers;

/// A search as people run it: variables with bounds and scales, an optimizer, constraints, and
/// limits.
///
///     <search>
///       <variables>
///         <variable><name>mass</name><start>3</start><lower>0</lower><upper>10</upper></variable>
///         <variable><name>drag</name><start>0.3</start></variable>
///       </variables>
///       <optimizer>
///         <nelderMead><maxFunctionEvaluations>400</maxFunctionEvaluations></nelderMead>
///       </optimizer>
///       <maxEvaluations>1000</maxEvaluations>
///     </search>
///
/// The optimizer works on x / scale. The value that it gets at a point x is
///
///     g + (|g| + 1) d,   g = f(p) + `constraintWeight` v
///
/// where p is the nearest point inside the bounds, d the sum over the coordinates of |x - p| over
/// the width of the box, or over the scale if a side is open, and v the sum of all c(p) > 0 of the
/// constraints. In a search for a maximum both penalties are subtracted. If f fails at p,
/// `failureValue` stands in for f(p). The record and the report hold physical points and the
/// function's own values.
///
/// A search is a deterministic function of its settings and of the values of the function. So a
/// killed search resumes with the same bits from its record. This requires that
/// - the function is deterministic;
/// - a client's optimizer is deterministic from its clone, lets exceptions pass, and calls the
///   function on the calling thread.
///
/// With several workers, clones of the optimizer and of the constraints run ahead during the
/// search, so they must share no state that changes. Every run uses a fresh clone of the optimizer
/// and a random stream of its own, made from `seed`. Calls of the function, the observer and the
/// workers use the caller's random stream.
///
/// Without limits, bounds, scales, constraints, record and workers, and with `remember` false, a
/// run makes the same calls as `findMinimum` of a fresh clone, batches included, and finds the same
/// bits. This requires finite values of the function.
///
/// Use one object in one thread at a time: a clone for each thread. Searches of several threads may
/// run at once if each has its own workers, record and observer.
class KR_EXPORT KrSearch
    : public KrTaggedElement<KrSearch, KrBaseExpressionTreeElement, KrSearchNames::KrSearchToken> {
public:
    /// The unknowns, in the order of a point's coordinates. Default: empty, which is refused.
    KrSearchVariableVector const& variables() const { return variables_; }
    void setVariables(KrSearchVariableVector const& variables) { variables_ = variables; }
    /// Appends an unknown.
    void addVariable(std::string const& name, double start,
                     double lower = -std::numeric_limits<double>::infinity(),
                     double upper = std::numeric_limits<double>::infinity(), double scale = 1.0);

    /// The optimizer that searches. Default: empty, which is refused.
    KrScalarMultivariableOptimizerContainer const& optimizer() const { return optimizer_; }
    /// Takes a clone of `optimizer`.
    void setOptimizer(KrScalarMultivariableOptimizer const& optimizer);

    /// The constraints c: a point is feasible where c(x) <= 0 for all of them. Default: empty.
    KrMultivariableConstraintVector const& constraints() const { return constraints_; }
    void setConstraints(KrMultivariableConstraintVector const& constraints) {
        constraints_ = constraints;
    }

    /// Whether the search is for a maximum. Default: false.
    bool maximise() const { return maximise_; }
    void setMaximise(bool maximise) { maximise_ = maximise; }

    /// The largest number of evaluations that the search asks for, wherever the values come from;
    /// 0 is no limit. Default: 0.
    KrU32 maxEvaluations() const { return maxEvaluations_; }
    void setMaxEvaluations(KrU32 count) { maxEvaluations_ = count; }

    /// The time limit of one run in seconds, at least 0; INF is no limit. An evaluation that is
    /// under way is waited for. Default: INF.
    double maxSeconds() const { return maxSeconds_; }
    void setMaxSeconds(double seconds) { maxSeconds_ = seconds; }

    /// The value at which a feasible point is good enough: the search ends as soon as one is at
    /// most this, or at least this if `maximise` is true. NaN is no target. Default: NaN.
    double targetValue() const { return targetValue_; }
    void setTargetValue(double value) { targetValue_ = value; }

    /// The search ends if the best value improves by no more than `stallImprovement` of its
    /// magnitude in this many evaluations; 0 is no such limit. Default: 0.
    KrU32 stallEvaluations() const { return stallEvaluations_; }
    void setStallEvaluations(KrU32 count) { stallEvaluations_ = count; }

    /// The improvement that counts as none, relative to the best value; at least 0. Default: 0.
    double stallImprovement() const { return stallImprovement_; }
    void setStallImprovement(double improvement) { stallImprovement_ = improvement; }

    /// The value that the optimizer gets where the function fails: where it is NaN or infinitely
    /// good, or throws `KrEvaluationFailure`. NaN is the worst finite value so far, and 1e100
    /// before there is one (-1e100 if `maximise` is true). If the first 2n + 1 evaluations fail,
    /// the search ends as `failed`. Default: NaN.
    double failureValue() const { return failureValue_; }
    void setFailureValue(double value) { failureValue_ = value; }

    /// The penalty of a violation of 1 of one constraint, in units of the function; at least 0 and
    /// finite. Increase it if the answer violates a constraint. Default: 1000.
    double constraintWeight() const { return constraintWeight_; }
    void setConstraintWeight(double weight) { constraintWeight_ = weight; }

    /// Whether a point that was evaluated before gets its value without a call. Default: true.
    bool remember() const { return remember_; }
    void setRemember(bool remember) { remember_ = remember; }

    /// The seed of the random stream that the optimizer draws from. Default: 1.
    KrU32 seed() const { return seed_; }
    void setSeed(KrU32 seed) { seed_ = seed; }

    /// Searches, with the function evaluated on the calling thread, and returns how the search
    /// ended. If settings are wrong, each has one message, nothing is evaluated, and `reason` is
    /// `failed`. An exception of the function passes through.
    ///
    /// Costs per evaluation, beyond the optimizer: a few nanoseconds, some tens with scales, bounds
    /// or memory.
    KrSearchReport run(KrScalarMultivariableFunction const& f,
                       KrSearchContext const& context = {}) const;
    /// Searches likewise, with the evaluations made by `workers`. If there are several, idle ones
    /// evaluate what the search will probably ask for. The answer has the bits of one worker.
    KrSearchReport run(KrEvaluationWorkers& workers, KrSearchContext const& context = {}) const;

    /// The name of the first component in which the other search differs, the limits left out;
    /// empty if there is none. A record can be resumed if it is empty.
    std::string firstDifference(KrSearch const& other) const;

    /// The names of the variables.
    std::vector<std::string> names() const;

    void registerComponents() override;

    /// Compares all components; NaN equals NaN.
    bool operator==(KrSearch const& other) const;

private:
    KrSearchVariableVector variables_;
    KrScalarMultivariableOptimizerContainer optimizer_;
    KrMultivariableConstraintVector constraints_;
    KrXmlBasicType<bool> maximise_{false};
    KrXmlBasicType<KrU32> maxEvaluations_{0};
    KrXmlBasicType<double> maxSeconds_{std::numeric_limits<double>::infinity()};
    KrXmlBasicType<double> targetValue_{std::numeric_limits<double>::quiet_NaN()};
    KrXmlBasicType<KrU32> stallEvaluations_{0};
    KrXmlBasicType<double> stallImprovement_{0.0};
    KrXmlBasicType<double> failureValue_{std::numeric_limits<double>::quiet_NaN()};
    KrXmlBasicType<double> constraintWeight_{1000.0};
    KrXmlBasicType<bool> remember_{true};
    KrXmlBasicType<KrU32> seed_{1};
};
