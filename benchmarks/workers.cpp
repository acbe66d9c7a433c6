// Searches by workers, in time: threads, commands and the ranks of MPI evaluate a function of four
// variables that sleeps for 20 ms. A row is one search with W workers. The number at its end is a
// check sum of all bits of the answer. If it differs between rows of an optimizer, the status is 1.
//
// Then it prints the share of the time in which points of 100 ms keep the workers busy, the cores
// that all processes use meanwhile, and the time of functions of 20 µs on threads, relative to one
// thread.
//
// The program starts itself again: with `evaluate` as the command, and with `ranks` under mpiexec.

#include "Measure.h"
#include "WorkerSearches.h"
#include "search/KrCallingThread.h"
#include "search/KrCommandWorkers.h"
#include "search/KrThreadWorkers.h"
#ifdef ZEIBREKU_MPIEXEC
#include "mpi/KrMpiWorkers.h"
#endif

#include <sys/resource.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds searched{0.02};
constexpr Seconds kept{0.1};
constexpr Seconds brief{20e-6};
constexpr std::size_t rounds = 10;  // of long evaluations

// Of J. S. Brown and J. E. Dennis.
MoreWild::Problem const& problem = MoreWild::problems[26];
std::string self;

class Costly : public KrScalarMultivariableFunction {
public:
    explicit Costly(Seconds time) : time_(time) {}
    double evaluate(KrRealVector const& x) const override {
        auto const end = std::chrono::steady_clock::now() + time_;
        if (time_ == brief) {
            while (std::chrono::steady_clock::now() < end) {
            }
        } else {
            std::this_thread::sleep_until(end);
        }
        return MoreWild::Function(problem, MoreWild::Variant::smooth).evaluate(x);
    }
    KrU32 domainDim() const override { return problem.n; }

private:
    Seconds time_;
};

using Clock = std::chrono::steady_clock;

// The user and system time of this process and of those that have ended.
double processorSeconds() {
    double sum = 0.0;
    for (int const who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        for (timeval const& time : {usage.ru_utime, usage.ru_stime}) {
            sum += double(time.tv_sec) + 1e-6 * double(time.tv_usec);
        }
    }
    return sum;
}

// FNV-1a of all bits.
std::uint64_t checkSum(KrSearchReport const& report) {
    std::uint64_t sum = 0xcbf29ce484222325;
    auto const add = [&sum](double number) {
        auto bits = std::bit_cast<std::uint64_t>(number);
        for (int i = 0; i < 8; ++i, bits >>= 8) {
            sum = (sum ^ (bits & 0xff)) * 0x100000001b3;
        }
    };
    for (KrXmlRealVector const* const point : {&report.bestPoint(), &report.answerPoint()}) {
        for (double const component : *point) {
            add(component);
        }
    }
    add(report.bestValue());
    add(report.answer());
    add(report.evaluations());
    return sum;
}

std::map<std::size_t, std::uint64_t> sums;  // of the optimizers
bool allAreSame = true;

void printSearch(std::size_t optimizer, char const* kind, KrEvaluationWorkers& workers) {
    auto const& [name, search] = WorkerSearches::optimizers[optimizer];
    KrSearchReport const report = search(problem).run(workers);
    std::uint64_t const sum = checkSum(report);
    allAreSame = allAreSame && sums.emplace(optimizer, sum).first->second == sum;
    std::printf("%-20s%-10s%4u%9.2f%10u%8u   %016llx\n", name, kind, workers.count(),
                report.seconds(), report.evaluations(), report.evaluationsMade(),
                static_cast<unsigned long long>(sum));
    std::fflush(stdout);
}

void printEfficiency(char const* kind, KrEvaluationWorkers& workers, std::size_t processes) {
    std::vector<KrEvaluationRequest> requests(rounds * workers.count());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        requests[i] = {i, problem.start()};
    }
    double const processor = processorSeconds();
    auto const begin = Clock::now();
    workers.start(requests);
    std::vector<KrEvaluation> all;
    while (workers.finish(all, KrEvaluationWorkers::Time::max(), {})) {
    }
    double const seconds = Seconds(Clock::now() - begin).count();
    std::printf("%-10s%4u%14.3f%16.3f\n", kind, workers.count(),
                double(rounds) * kept.count() / seconds,
                (processorSeconds() - processor) / seconds * double(processes));
    std::fflush(stdout);
}

#ifdef ZEIBREKU_MPIEXEC

int runOnRanks(int argc, char** argv) {
    MPI_Init(&argc, &argv);
    bool const isSearch = std::strcmp(argv[2], "efficiency") != 0;
    {
        Costly const f(isSearch ? searched : kept);
        KrMpiWorkers workers(MPI_COMM_WORLD, f);
        if (workers.serve()) {
        } else if (isSearch) {
            std::size_t const optimizer = std::stoul(argv[2]);
            sums[optimizer] = std::stoull(argv[3], nullptr, 16);
            printSearch(optimizer, "ranks", workers);
        } else {
            printEfficiency("ranks", workers, workers.count() + 1);
        }
    }
    MPI_Finalize();
    return allAreSame ? 0 : 1;
}

// Rank 0 searches, and the others evaluate.
void startRanks(KrU32 workers, std::string const& what) {
    // For more ranks than cores, and in a container. Other implementations ignore them.
    for (char const* const name : {"OMPI_ALLOW_RUN_AS_ROOT", "OMPI_ALLOW_RUN_AS_ROOT_CONFIRM",
                                   "OMPI_MCA_rmaps_base_oversubscribe"}) {
        setenv(name, "1", 0);
    }
    setenv("OMPI_MCA_hwloc_base_binding_policy", "none", 0);
    std::string const command =
        ZEIBREKU_MPIEXEC " -n " + std::to_string(workers + 1) + " '" + self + "' ranks " + what;
    allAreSame = std::system(command.c_str()) == 0 && allAreSame;
}

#else

void startRanks(KrU32, std::string const&) {}

#endif

void printSearches() {
    std::printf("Evaluations of %g ms\n%-20s%-10s%4s%9s%10s%8s   answer\n", 1e3 * searched.count(),
                "optimizer", "workers", "W", "seconds", "asked", "made");
    Costly const f(searched);
    KrCallingThread alone(f);
    for (std::size_t optimizer = 0; optimizer < std::size(WorkerSearches::optimizers);
         ++optimizer) {
        bool const isWhole = optimizer < 2;
        printSearch(optimizer, "none", alone);
        for (KrU32 const count :
             isWhole ? std::vector<KrU32>{1, 2, 4, 8, 16} : std::vector<KrU32>{8}) {
            KrThreadWorkers threads(f, count);
            printSearch(optimizer, "threads", threads);
            if (isWhole) {
                KrCommandWorkers commands({self, "evaluate"}, count);
                printSearch(optimizer, "commands", commands);
                std::array<char, 17> sum{};
                std::to_chars(sum.begin(), sum.end(), sums[optimizer], 16);
                startRanks(count, std::to_string(optimizer) + ' ' + sum.data());
            }
        }
    }
}

void printEfficiencies() {
    std::printf("\nEvaluations of %g ms, all asked for at once\n%-10s%4s%14s%16s\n",
                1e3 * kept.count(), "workers", "W", "of the ideal", "cores in use");
    Costly const f(kept);
    for (KrU32 const count : {2, 8, 32}) {
        KrThreadWorkers threads(f, count);
        printEfficiency("threads", threads, 1);
    }
    for (KrU32 const count : {3, 7}) {
        startRanks(count, "efficiency");
    }
}

void printBrief() {
    Costly const f(brief);
    KrCallingThread alone(f);
    KrThreadWorkers threads(f, 8);
    std::vector<double> ratios;
    for (int i = 0; i < 15; ++i) {
        auto const time = [](KrEvaluationWorkers& workers) {
            return nanoseconds([&] { WorkerSearches::optimizers[0].search(problem).run(workers); });
        };
        double const serial = time(alone);
        ratios.push_back(time(threads) / serial);
    }
    std::printf("\nNelder-Mead, evaluations of %g µs: 8 threads take %.2f of the time of one\n",
                1e6 * brief.count(), median(ratios));
}

// As a command: the point is on the standard input.
int evaluate() {
    KrRealVector x;
    for (double component = 0.0; std::cin >> component;) {
        x.push_back(component);
    }
    std::printf("%.17g\n", Costly(searched).evaluate(x));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::string const task = argc > 1 ? argv[1] : "";
    if (task == "evaluate") {
        return evaluate();
    }
#ifdef ZEIBREKU_MPIEXEC
    if (task == "ranks") {
        return runOnRanks(argc, argv);
    }
#endif
    self = std::filesystem::canonical("/proc/self/exe").string();
    printSearches();
    printEfficiencies();
    printBrief();
    return allAreSame ? 0 : 1;
}
