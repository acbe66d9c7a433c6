// A client of the library for MPI, on any number of ranks.
#include "function/multivariable/KrPowellsQuarticFunction.h"
#include "mpi/KrMpiWorkers.h"

int main(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    std::vector<KrEvaluation> all;
    {
        KrPowellsQuarticFunction const quartic;
        KrMpiWorkers workers(MPI_COMM_WORLD, quartic);
        if (workers.serve()) {
            all.emplace_back().value = 215;
        } else {
            KrEvaluationRequest const request{0, {3, -1, 0, 1}};
            workers.start({&request, 1});
            workers.finish(all, KrEvaluationWorkers::Time::max(), {});
        }
    }
    MPI_Finalize();
    return all.at(0).value == 215 ? 0 : 1;
}
