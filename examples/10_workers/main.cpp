// Fits the material of a wall to measured temperatures. An evaluation simulates a day, so several
// run at once: on threads, or on the ranks of MPI. The answer does not depend on how many.
//
//   10_workers threads 8
//   mpirun -n 8 10_workers ranks
//
// A wall of 0.24 m is warmed by a room of 20 degrees on one side, and on the other the air swings
// between -5 and 15 degrees. Its conductivity, its heat capacity and the transfer of heat to the
// air are searched for.

#include "function/optimizer/KrNelderMeadOptimizer.h"
#include "search/KrSearch.h"
#include "search/KrThreadWorkers.h"
#ifdef ZEIBREKU_HAVE_MPI
#include "mpi/KrMpiWorkers.h"
#endif

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

constexpr int nodes = 65;
constexpr double width = 0.24 / (nodes - 1);
constexpr double step = 4.0;
constexpr int hour = 900;  // steps

using Temperatures = std::array<double, 24>;  // in the middle of the wall

/// Of the second day, hour by hour: finite differences, explicit in time. The units are W/(m K),
/// MJ/(m^3 K) and W/(m^2 K).
Temperatures simulated(double conductivity, double capacity, double transfer) {
    double const gain = step / (capacity * 1e6 * width);
    double const diffusion = gain * conductivity / width;
    if (!(diffusion < 0.4) || !(gain * transfer < 0.05)) {
        throw KrEvaluationFailure("the time step is too long for this material");
    }
    std::array<double, nodes> now{};
    std::array<double, nodes> next{};
    for (int i = 0; i < nodes; ++i) {
        now[i] = 18.0 - 12.0 * i / (nodes - 1);
    }
    Temperatures result{};
    for (int t = 0; t < 48 * hour; ++t) {
        double const noon = (t % (24 * hour)) / (12.0 * hour) - 1.0;  // -1 to 1, 0 at noon
        double const air = 15.0 - 20.0 * noon * noon;
        for (int i = 1; i + 1 < nodes; ++i) {
            next[i] = now[i] + diffusion * (now[i - 1] - 2.0 * now[i] + now[i + 1]);
        }
        next[0] = now[0] + 2.0 * (diffusion * (now[1] - now[0]) + gain * 8.0 * (20.0 - now[0]));
        next[nodes - 1] = now[nodes - 1] + 2.0 * (diffusion * (now[nodes - 2] - now[nodes - 1]) +
                                                  gain * transfer * (air - now[nodes - 1]));
        std::swap(now, next);
        if (t >= 24 * hour && t % hour == 0) {
            result[t / hour - 24] = now[nodes / 2];
        }
    }
    return result;
}

/// Temperatures to a tenth of a degree.
constexpr Temperatures measured{13.8, 13.2, 12.6, 12.2, 12.0, 12.0, 12.0, 12.2,
                                12.5, 12.8, 13.2, 13.5, 13.9, 14.2, 14.5, 14.8,
                                15.0, 15.2, 15.3, 15.3, 15.2, 15.0, 14.7, 14.4};

/// The sum of squares of the differences. Several threads may call it at once: it has no memory.
class Misfit : public KrScalarMultivariableFunction {
public:
    double evaluate(KrRealVector const& x) const override {
        Temperatures const found = simulated(x[0], x[1], x[2]);
        double sum = 0.0;
        for (std::size_t i = 0; i < found.size(); ++i) {
            sum += (found[i] - measured[i]) * (found[i] - measured[i]);
        }
        return sum;
    }
    KrU32 domainDim() const override { return 3; }
};

/// Prints the answer, and to standard error what it took.
int fit(KrEvaluationWorkers& workers) {
    KrSearch search;
    search.addVariable("conductivity", 1.0, 0.05, 3.0);
    search.addVariable("capacity", 1.0, 0.5, 3.0);
    search.addVariable("transfer", 20.0, 1.0, 40.0, 10.0);
    KrNelderMeadOptimizer optimizer;
    optimizer.setDefaultSimplexEdgeLength(0.25);
    optimizer.setMaxFunctionEvaluations(200);
    search.setOptimizer(optimizer);
    KrSearchReport const report = search.run(workers);
    for (KrU32 i = 0; i < report.bestPoint().size(); ++i) {
        std::printf("%-14s%.17g\n", search.names()[i].c_str(), double{report.bestPoint()[i]});
    }
    std::printf("%-14s%.17g after %u evaluations\n", "misfit", report.bestValue(),
                report.evaluations());
    std::fprintf(stderr, "%u workers made %u evaluations in %.2f s\n", workers.count(),
                 report.evaluationsMade(), report.seconds());
    return report.reason() == KrSearchReason::Failed ? 1 : 0;
}

int fitOnThreads(char const* count) {
    int const threads = std::atoi(count);
    if (threads < 1 || threads > 1000) {
        std::fprintf(stderr, "10_workers: expected 1 to 1000 threads, found \"%s\"\n", count);
        return 1;
    }
    Misfit const f;
    KrThreadWorkers workers(f, static_cast<KrU32>(threads));
    return fit(workers);
}

#ifdef ZEIBREKU_HAVE_MPI
int fitOnRanks(int argc, char** argv) {
    int status = 0;
    MPI_Init(&argc, &argv);
    {
        Misfit const f;
        KrMpiWorkers workers(MPI_COMM_WORLD, f);
        if (!workers.serve()) {
            status = fit(workers);
        }
    }
    MPI_Finalize();
    return status;
}
#endif

}  // namespace

int main(int argc, char** argv) {
    std::string const where = argc > 1 ? argv[1] : "";
    if (where == "threads" && argc == 3) {
        return fitOnThreads(argv[2]);
    }
#ifdef ZEIBREKU_HAVE_MPI
    if (where == "ranks" && argc == 2) {
        return fitOnRanks(argc, argv);
    }
#endif
    std::fprintf(stderr,
                 "usage: 10_workers threads N\n"
                 "       mpirun -n N 10_workers ranks   (if it was built with MPI)\n");
    return 2;
}
