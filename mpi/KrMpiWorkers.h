#pragma once

#include "search/KrEvaluationWorkers.h"

#include <mpi.h>

#include <memory>

/// Evaluates points on the ranks of an MPI communicator: rank 0 runs the search, and each other
/// rank evaluates one point at a time.
///
///     MPI_Init(&argc, &argv);
///     {
///         KrMpiWorkers workers(MPI_COMM_WORLD, f);
///         if (!workers.serve()) {
///             KrSearchReport const report = search.run(workers);
///         }
///     }
///     MPI_Finalize();
///
/// All ranks construct an object, and all but rank 0 stay in `serve` until rank 0 destroys its own.
/// Several searches may run one after another. A search on another rank is refused. If MPI is not
/// initialized, or if there is one rank alone, a message is printed, and the calling process
/// evaluates all points.
///
/// The result has the same bits as that of one process, if the function is deterministic. Numbers
/// travel as their bytes: all ranks run on processors with the same representation of `double`.
/// Each rank has random streams of its own, so draw from a `KrRandomStream` that the function makes
/// from the point.
///
/// An exception of the function arrives as `std::runtime_error` with its text. `worker` of an
/// evaluation is 0 for rank 1, 1 for rank 2, and so on. `cancel` takes back what no rank has begun,
/// and cancels the evaluations under way on the other ranks: a command ends, a function finishes. A
/// point whose length is not `domainDim` of the function is `Broken`.
///
/// The object duplicates the communicator, and never calls `MPI_Init` or `MPI_Finalize`. The thread
/// that owns it makes all calls of MPI: `MPI_THREAD_FUNNELED` is enough, if that is the main
/// thread. Destroy it before `MPI_Finalize`. If a rank ends early, MPI ends the others.
///
/// A rank that waits sleeps between two looks for a message: an eighth of the time waited so far,
/// at most 1 ms. On one machine, a point at a time took 0.15 ms more than its evaluation, and
/// 0.7 ms more if the evaluation took 20 ms or longer. With evaluations of 100 ms, the ranks were
/// busy for 99 % of the time. A rank that waits for seconds uses 2 % of a core.
class KR_EXPORT KrMpiWorkers : public KrEvaluationWorkers {
public:
    /// Evaluates `f`, which must outlive this object. Each rank gives a function of its own.
    KrMpiWorkers(MPI_Comm communicator, KrScalarMultivariableFunction const& f);
    /// Evaluates with the workers of each rank, such as `KrCommandWorkers`, one point at a time.
    /// They must outlive this object. Rank 0 uses its own only if it is alone.
    KrMpiWorkers(MPI_Comm communicator, KrEvaluationWorkers& local);
    /// On rank 0, cancels what is under way, waits for it, and ends `serve` on the other ranks.
    ~KrMpiWorkers() override;

    /// Evaluates what rank 0 sends, until rank 0 destroys its object, and returns true. On rank 0
    /// it returns false at once. An exception of `local` passes through: let it end the process.
    bool serve();

    /// The number of ranks without rank 0. That of `local` if this process evaluates all points.
    KrU32 count() const override;
    void start(std::span<KrEvaluationRequest const> requests) override;
    bool finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) override;
    void cancel() override;
    /// The function if this process evaluates all points, otherwise null.
    KrScalarMultivariableFunction const* directFunction() const override;

private:
    struct State;
    std::unique_ptr<State> state_;
};
