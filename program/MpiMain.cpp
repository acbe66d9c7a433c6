// The program zeibreku-mpi: `search` runs its commands on the ranks of MPI, and all else is done by
// rank 0.

#include "mpi/KrMpiWorkers.h"
#include "program/Subcommands.h"
#include "search/KrCommandWorkers.h"
#include "search/KrSignalStop.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

// What the ranks need to know of a search. Rank 0 alone reads the arguments and the file.
struct Task {
    std::vector<std::string> command;  // empty if there is no search
    std::vector<std::string> names;
};

// Gives the task of rank 0 to all ranks, which call this once. Each text ends with a zero byte.
Task shared(Task const& task) {
    std::string texts;
    for (auto const* const list : {&task.command, &task.names}) {
        for (std::string const& text : *list) {
            texts.append(text.c_str(), text.size() + 1);
        }
    }
    std::uint64_t sizes[] = {texts.size(), task.command.size()};
    MPI_Bcast(sizes, sizeof sizes, MPI_BYTE, 0, MPI_COMM_WORLD);
    texts.resize(sizes[0]);
    MPI_Bcast(texts.data(), static_cast<int>(sizes[0]), MPI_BYTE, 0, MPI_COMM_WORLD);
    Task result;
    for (char const* text = texts.data(); text != texts.data() + texts.size();
         text += std::strlen(text) + 1) {
        (result.command.size() < sizes[1] ? result.command : result.names).emplace_back(text);
    }
    return result;
}

int runOnRankZero(int argc, char** argv, bool isSearch) {
    bool isShared = false;
    int const status =
        runProgram(argc, argv, "zeibreku-mpi",
                   [&](SearchCall const& call, KrCommandWorkers& commands,
                       std::vector<std::string> const& names) {
                       isShared = true;
                       shared({call.command, names});
                       return std::make_unique<KrMpiWorkers>(MPI_COMM_WORLD, commands);
                   });
    if (isSearch && !isShared) {
        shared({});
    }
    return status;
}

// Runs commands for rank 0. A signal that goes to all ranks stops the search on rank 0, which ends
// the commands here.
void runOnOtherRank(int rank) {
    Task const task = shared({});
    if (task.command.empty()) {
        return;
    }
    KrSignalStop const signals;
    KrCommandWorkers commands(task.command, 1, task.names);
    commands.setFirstWorker(static_cast<KrU32>(rank - 1));
    KrMpiWorkers workers(MPI_COMM_WORLD, commands);
    workers.serve();
}

}  // namespace

int main(int argc, char** argv) {
    int support = 0;
    MPI_Init_thread(&argc, &argv, MPI_THREAD_FUNNELED, &support);
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    bool const isSearch = argc > 1 && std::strcmp(argv[1], "search") == 0;
    int status = Done;
    if (rank == 0) {
        status = runOnRankZero(argc, argv, isSearch);
    } else if (isSearch) {
        runOnOtherRank(rank);
    }
    MPI_Finalize();
    return status;
}
