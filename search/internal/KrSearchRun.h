#pragma once

#include "foundation/math/KrRandomStream.h"
#include "search/KrEvaluationRecord.h"
#include "search/KrEvaluationWorkers.h"
#include "search/KrSearch.h"
#include "search/internal/KrPointTable.h"
#include "search/internal/KrSearchSpace.h"

#include <optional>

/// One run of a search. A point is physical and inside the bounds here: what the optimizer calls
/// applies scales and bounds before and the penalty after.
///
/// Each evaluation goes through three steps: `mayGoOn` throws a stop through the optimizer,
/// `obtain` gets the value from the record, the memory or the workers, and `take` counts it,
/// compares it and turns it into what the optimizer sees.
class KrSearchRun {
public:
    KrSearchRun(KrSearch const& search, KrEvaluationWorkers& workers,
                KrSearchContext const& context);
    ~KrSearchRun();

    KrSearchReport run();

    /// The point at which the search asked for something else than the record holds, empty if there
    /// is none. It is the evaluation of number `evaluations()`.
    std::optional<KrRealVector> const& divergence() const { return divergence_; }
    KrU32 evaluations() const { return asked_; }

private:
    class Workers;
    // What the optimizer calls. The caller's random stream is in place meanwhile.
    class Function;
    class GivingFunction;
    // Puts the caller's random stream in the place of the optimizer's.
    class CallersStream {
    public:
        explicit CallersStream(KrSearchRun& run) : slot_(run.slot_), optimizers_(run.slot_) {
            slot_ = run.callers_;
        }
        ~CallersStream() { slot_ = optimizers_; }
        CallersStream(CallersStream const&) = delete;
        CallersStream& operator=(CallersStream const&) = delete;

    private:
        KrRandomStream*& slot_;
        KrRandomStream* const optimizers_;
    };
    // Thrown through the optimizer. No class of the standard library, which it might catch.
    struct Stop {};
    using Time = KrEvaluationWorkers::Time;

    // An evaluation that has a value, or has failed.
    struct Known {
        double value = 0.0;
        bool failed = false;
        bool isTaken = false;  // by the search
        std::uint64_t ticket = 0;
    };
    // One that was handed out in a batch.
    struct Made {
        std::optional<Known> known;
        std::exception_ptr exception;
        std::string broken;
    };

    bool isRefused();
    bool refuse(std::string const& text);
    bool refuseBadVariable(KrSearchVariable const& variable);
    bool refuseBadConstraint(KrU32 number);
    void prepare();
    void keepUnasked();
    void search();
    void setAnswer(KrRealVector const& answer, double value);
    void endEvaluations();
    void finish();

    double step(KrRealVector const& x);
    double takePlain(KrRealVector const& x, double value, bool isGood);
    bool call(KrRealVector const& x, double& value);
    bool callMany(std::vector<KrRealVector> const& points, KrRealVector& values);
    void stepMany(std::vector<KrRealVector> const& points, KrRealVector& values);
    void mayGoOn();
    [[noreturn]] void stop(KrSearchReason reason);
    void checkLength(KrRealVector const& x);
    Known obtain(KrRealVector const& x);
    Known* remembered(KrRealVector const& x, std::uint64_t hash);
    KrEvaluationRecord::Entry const& recorded(std::uint64_t ticket);
    Known replayed(KrRealVector const& x, std::uint64_t hash);
    Known evaluated(KrRealVector const& x, std::uint64_t hash);
    Known evaluatedAlone(KrRealVector const& x, bool isTaken);
    std::vector<Made> evaluatedMany(std::vector<KrRealVector> const& points);
    std::vector<Made> evaluatedBatch(std::vector<KrRealVector> const& points);
    Known claimed(KrRealVector const& x, Made& made);
    Known accepted(KrRealVector const& x, KrEvaluation const& evaluation, bool isTaken);
    double take(KrRealVector const& x, Known const& known);
    double optimizersValue(Known const& known);
    double standIn() const;
    double penalised(double value, double violation) const;
    void compare(KrRealVector const& x, double value);
    bool isBetter(double a, double b) const { return maximise_ ? a > b : a < b; }
    bool isFailure(double value) const {
        return !(maximise_ ? value < infinity : value > -infinity);
    }
    void noteWorst(double value) {
        worstValue_ = isBetter(worstValue_, value) && std::isfinite(value) ? value : worstValue_;
    }
    double violation(KrRealVector const& x) const;
    double secondsSince(Time begin) const;

    static constexpr double infinity = std::numeric_limits<double>::infinity();
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();

    KrSearch const& search_;
    KrEvaluationWorkers& workers_;
    KrSearchContext const& context_;
    KrEvaluationRecord* const record_;
    KrScalarMultivariableFunction const* const direct_;
    KrRandomStream*& slot_;          // of this thread's random stream
    KrRandomStream* const callers_;  // the random stream of the caller
    Time const begin_;
    KrSearchReport report_;

    // Settings, as plain values.
    KrU32 const dimension_;
    KrU32 const maxEvaluations_;
    bool const maximise_;
    double const sign_;  // of penalties
    bool const remember_;
    bool const canStop_;
    bool const isTimed_;
    bool inBatches_ = true;    // a batch is handed on as a whole
    bool hasWorkers_ = false;  // no other search uses them
    bool isPlain_ = false;     // nothing happens between two evaluations
    Time deadline_ = Time::max();
    KrMultivariableConstraintVector constraints_;
    std::optional<KrSearchSpace> space_;  // none without scales and bounds
    KrRealVector start_;                  // the optimizer's

    std::optional<KrPointTable<Known>> memory_;
    std::map<std::uint64_t, KrEvaluationRecord::Entry>::const_iterator next_;  // of the record
    std::uint64_t firstTicket_ = 0;                                            // of this run
    std::uint64_t nextTicket_ = 0;
    std::unique_ptr<Workers> pool_;  // none if the function is called directly
    bool isOld_ = false;             // the last value is from the record or the memory

    // How the run ends.
    std::optional<KrSearchReason> stopped_;
    std::exception_ptr exception_;
    std::optional<KrRealVector> divergence_;

    KrU32 asked_ = 0;
    KrU32 made_ = 0;
    KrU32 speculated_ = 0;
    KrU32 replayed_ = 0;
    KrU32 failures_ = 0;
    std::string lastFailure_;  // its reason, empty if it has none
    KrRealVector best_;
    double bestValue_ = nan;
    double worstValue_;  // of those that did not fail
    double stallValue_ = nan;
    KrU32 stallStart_ = 0;
};
