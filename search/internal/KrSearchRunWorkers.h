#pragma once

#include "search/internal/KrPathVote.h"
#include "search/internal/KrPredictor.h"
#include "search/internal/KrSearchRun.h"

#include <map>

/// The evaluations of a search by workers: those that it waits for, and, while some workers are
/// idle, those that it will probably ask for next.
///
/// While the search waits for a value, clones of its optimizer run ahead: they get the same values
/// so far, then predicted ones. Several models predict, and `KrPathVote` chooses among the points
/// that they lead to. A wrong prediction wastes an evaluation. It never changes the answer: the
/// search gets the value of a point only when it asks for that point.
class KrSearchRun::Workers {
public:
    explicit Workers(KrSearchRun& run);

    /// What came of each point. One has neither a value nor an exception if a stop or the time came
    /// first.
    std::vector<Made> evaluate(std::vector<KrRealVector> const& points);
    /// Notes a point that the search asks for.
    void ask(KrRealVector const& x) { vote_.ask(x); }
    /// Adds what the optimizer got, in order.
    void give(double value) { given_.push_back(value); }
    /// Adds a value to predict from.
    void learn(KrRealVector const& x, Known const& known);
    /// Ends what is under way. What finished is in the record.
    void drain();

private:
    class Ahead;

    // An evaluation under way.
    struct Flight {
        KrRealVector point;
        Made* wanted;  // where the search waits for it; null if it is speculative
        Time begin;
    };

    bool isWaiting() const;
    Known const* landed(KrRealVector const& x) const;
    bool isWaitingFor(KrRealVector const& x) const;
    bool isFree(KrRealVector const& x);
    bool collect(Time until, std::stop_token const& stop);
    void land(Flight const& flight, KrEvaluation const& evaluation);
    void time(double seconds);
    void keep(KrRealVector const& x, Known const& known);
    double patience() const;
    void speculate();

    KrSearchRun& run_;
    std::size_t const count_;
    std::map<std::uint64_t, Flight> flights_;            // by ticket
    std::uint64_t newest_ = 0;                           // the first ticket of the last question
    std::vector<KrRealVector> const* points_ = nullptr;  // that the search waits for
    std::vector<Made> all_;                              // what came of them
    std::vector<KrEvaluation> ended_;
    std::exception_ptr thrown_;  // by the workers, while the search was run ahead
    KrPointTable<Made> kept_;    // exceptions that the search has not asked for
    std::string broken_;         // why an evaluation could not be made at all
    KrRealVector given_;
    KrPredictor predictor_;
    KrPathVote vote_;
    std::vector<double> durations_;  // of the last evaluations
    std::size_t nextDuration_ = 0;
    unsigned pauses_ = 0;  // how many speculations in a row took too long
    unsigned left_ = 0;    // of the pause after the last one
};
