#include "mpi/KrMpiWorkers.h"

#include "foundation/core/KrPrint.h"
#include "search/KrCallingThread.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <thread>
#include <utility>

KR_SOURCE_VERSION;

namespace {

using Time = KrEvaluationWorkers::Time;

// From rank 0: a point to evaluate, the end of what is under way, the end of `serve`. To rank 0: an
// evaluation.
enum Tag : int { Request, Cancel, Release, Result };

struct Message {
    int source = 0;
    int tag = 0;
    std::string bytes;
};

// The text of an evaluation follows.
struct ResultHead {
    std::uint64_t ticket;
    std::uint64_t outcome;
    double value;
    double seconds;
};

std::string requestBytes(KrEvaluationRequest const& request) {
    std::string bytes(reinterpret_cast<char const*>(&request.ticket), sizeof request.ticket);
    return bytes.append(reinterpret_cast<char const*>(request.point.data()),
                        request.point.size() * sizeof(double));
}

KrEvaluationRequest requestOf(std::string const& bytes) {
    constexpr std::size_t head = sizeof(KrEvaluationRequest::ticket);
    KrEvaluationRequest request;
    std::memcpy(&request.ticket, bytes.data(), head);
    request.point.resize((bytes.size() - head) / sizeof(double));
    std::copy(bytes.begin() + head, bytes.end(), reinterpret_cast<char*>(request.point.data()));
    return request;
}

std::string textOf(std::exception_ptr const& exception) {
    try {
        std::rethrow_exception(exception);
    } catch (std::exception const& error) {
        return error.what();
    } catch (...) {
        return "an exception that is no std::exception";
    }
}

std::string resultBytes(KrEvaluation const& evaluation) {
    ResultHead const head{evaluation.ticket, static_cast<std::uint64_t>(evaluation.outcome),
                          evaluation.value, evaluation.seconds};
    std::string const bytes(reinterpret_cast<char const*>(&head), sizeof head);
    return bytes + (evaluation.exception ? textOf(evaluation.exception) : evaluation.text);
}

KrEvaluation resultOf(Message const& message) {
    ResultHead head{};
    std::memcpy(&head, message.bytes.data(), sizeof head);
    KrEvaluation evaluation;
    evaluation.ticket = head.ticket;
    evaluation.outcome = static_cast<KrEvaluation::Outcome>(head.outcome);
    evaluation.value = head.value;
    evaluation.text = message.bytes.substr(sizeof head);
    if (evaluation.outcome == KrEvaluation::Outcome::Exception) {
        evaluation.exception = std::make_exception_ptr(std::runtime_error(evaluation.text));
    }
    evaluation.worker = static_cast<KrU32>(message.source - 1);
    evaluation.seconds = head.seconds;
    return evaluation;
}

// Sleeps between two looks for a message. The calls of MPI that wait would use a whole core.
class Nap {
public:
    void restart() { begin_ = std::chrono::steady_clock::now(); }
    void wait(Time until = Time::max()) const {
        constexpr std::chrono::microseconds shortest{20};
        constexpr std::chrono::milliseconds longest{1};
        Time const now = std::chrono::steady_clock::now();
        auto const time = std::clamp<Time::duration>((now - begin_) / 8, shortest, longest);
        std::this_thread::sleep_until(std::min(now + time, until));
    }

private:
    Time begin_ = std::chrono::steady_clock::now();
};

}  // namespace

struct KrMpiWorkers::State {
    State(MPI_Comm original, std::unique_ptr<KrEvaluationWorkers> owned,
          KrEvaluationWorkers* given);
    void send(int rank, Tag tag, std::string const& bytes) const;
    void tell(int rank, Tag tag) const;
    std::optional<Message> receive(int source) const;
    void distribute();
    void collect();

    std::unique_ptr<KrEvaluationWorkers> own;  // if a function was given
    KrEvaluationWorkers& local;
    MPI_Comm communicator = MPI_COMM_NULL;  // null if this process evaluates all points
    int rank = 0;
    std::deque<KrEvaluationRequest> waiting;
    std::vector<bool> isBusy;  // by rank; rank 0 never is
    std::vector<KrEvaluation> ended;
};

KrMpiWorkers::State::State(MPI_Comm original, std::unique_ptr<KrEvaluationWorkers> owned,
                           KrEvaluationWorkers* given)
    : own(std::move(owned)), local(own ? *own : *given) {
    int isInitialized = 0;
    int isFinalized = 0;
    MPI_Initialized(&isInitialized);
    MPI_Finalized(&isFinalized);
    int ranks = 0;
    if (isInitialized && !isFinalized) {
        MPI_Comm_size(original, &ranks);
    }
    if (ranks < 2) {
        Kr::Print::instance().write(Kr::PrintType::Warning,
                                    "mpi: expected at least 2 ranks, found %s; this process "
                                    "evaluates all points\n",
                                    ranks == 1
                                        ? "1 (start with the mpirun of the MPI that this was "
                                          "built with)"
                                        : "none (MPI is not initialized)");
        return;
    }
    isBusy.resize(static_cast<std::size_t>(ranks));
    MPI_Comm_dup(original, &communicator);
    MPI_Comm_rank(communicator, &rank);
}

// The receiver of a message with bytes looks for messages only, so that this returns soon.
void KrMpiWorkers::State::send(int to, Tag tag, std::string const& bytes) const {
    MPI_Send(bytes.data(), static_cast<int>(bytes.size()), MPI_BYTE, to, tag, communicator);
}

// Does not wait for the receiver, which may be sending a result.
void KrMpiWorkers::State::tell(int to, Tag tag) const {
    MPI_Request request = MPI_REQUEST_NULL;
    MPI_Isend(nullptr, 0, MPI_BYTE, to, tag, communicator, &request);
    MPI_Request_free(&request);
}

// The next message, if one has arrived. Open MPI takes messages in after a look that finds none.
// With one look between two sleeps an evaluation of 20 ms took 2.3 ms more, with two 0.7 ms.
std::optional<Message> KrMpiWorkers::State::receive(int source) const {
    int isThere = 0;
    MPI_Status status;
    for (int look = 0; look < 2 && !isThere; ++look) {
        MPI_Iprobe(source, MPI_ANY_TAG, communicator, &isThere, &status);
    }
    if (!isThere) {
        return {};
    }
    int size = 0;
    MPI_Get_count(&status, MPI_BYTE, &size);
    Message message{status.MPI_SOURCE, status.MPI_TAG,
                    std::string(static_cast<std::size_t>(size), '\0')};
    MPI_Recv(message.bytes.data(), size, MPI_BYTE, message.source, message.tag, communicator,
             MPI_STATUS_IGNORE);
    return message;
}

// The lowest ranks get the points: in a search that asks for one at a time, the same rank has just
// ended its evaluation, and its sleeps are the shortest.
void KrMpiWorkers::State::distribute() {
    for (std::size_t to = 1; to < isBusy.size() && !waiting.empty(); ++to) {
        if (!isBusy[to]) {
            send(static_cast<int>(to), Request, requestBytes(waiting.front()));
            waiting.pop_front();
            isBusy[to] = true;
        }
    }
}

void KrMpiWorkers::State::collect() {
    while (auto const message = receive(MPI_ANY_SOURCE)) {
        ended.push_back(resultOf(*message));
        isBusy[static_cast<std::size_t>(message->source)] = false;
    }
}

KrMpiWorkers::KrMpiWorkers(MPI_Comm communicator, KrScalarMultivariableFunction const& f)
    : state_(std::make_unique<State>(communicator, std::make_unique<KrCallingThread>(f), nullptr)) {
}

KrMpiWorkers::KrMpiWorkers(MPI_Comm communicator, KrEvaluationWorkers& local)
    : state_(std::make_unique<State>(communicator, nullptr, &local)) {}

KrMpiWorkers::~KrMpiWorkers() {
    State& state = *state_;
    if (state.communicator == MPI_COMM_NULL) {
        return;
    }
    if (state.rank == 0) {
        // A rank that still had a result to send would wait for its receiver for ever.
        KrMpiWorkers::cancel();
        std::vector<KrEvaluation> rest;
        while (KrMpiWorkers::finish(rest, Time::max(), {})) {
        }
        for (std::size_t to = 1; to < state.isBusy.size(); ++to) {
            state.tell(static_cast<int>(to), Release);
        }
    }
    MPI_Comm_free(&state.communicator);
}

bool KrMpiWorkers::serve() {
    constexpr std::chrono::milliseconds untilNextLook{10};
    State& state = *state_;
    if (state.rank == 0) {
        return false;
    }
    bool isBusy = false;
    std::vector<KrEvaluation> ended;
    Nap nap;
    while (true) {
        if (auto const message = state.receive(0)) {
            if (message->tag == Release) {
                return true;
            }
            if (message->tag == Request) {
                KrEvaluationRequest const request = requestOf(message->bytes);
                state.local.start({&request, 1});
                isBusy = true;
            } else {
                state.local.cancel();
            }
        } else if (!isBusy) {
            nap.wait();
        } else if (state.local.finish(ended, std::chrono::steady_clock::now() + untilNextLook,
                                      {})) {
            for (KrEvaluation const& evaluation : ended) {
                state.send(0, Result, resultBytes(evaluation));
            }
            ended.clear();
            isBusy = false;
            nap.restart();
        }
    }
}

KrU32 KrMpiWorkers::count() const {
    return state_->communicator == MPI_COMM_NULL ? state_->local.count()
                                                 : static_cast<KrU32>(state_->isBusy.size() - 1);
}

void KrMpiWorkers::start(std::span<KrEvaluationRequest const> requests) {
    State& state = *state_;
    if (state.communicator == MPI_COMM_NULL) {
        state.local.start(requests);
        return;
    }
    auto const* const f = state.local.directFunction();
    for (KrEvaluationRequest const& request : requests) {
        std::string problem;
        if (state.rank != 0) {
            problem = "workers: expected rank 0, found rank " + std::to_string(state.rank);
        } else if (f && request.point.size() != f->domainDim()) {
            problem = "workers: expected " + std::to_string(f->domainDim()) +
                      " coordinates, as many as the function has, found " +
                      std::to_string(request.point.size());
        }
        if (problem.empty()) {
            state.waiting.push_back(request);
        } else {
            KrEvaluation& evaluation = state.ended.emplace_back();
            evaluation.ticket = request.ticket;
            evaluation.outcome = KrEvaluation::Outcome::Broken;
            evaluation.text = problem;
        }
    }
    if (state.rank == 0) {
        state.distribute();
    }
}

bool KrMpiWorkers::finish(std::vector<KrEvaluation>& all, Time until, std::stop_token stop) {
    State& state = *state_;
    if (state.communicator == MPI_COMM_NULL) {
        return state.local.finish(all, until, std::move(stop));
    }
    Nap const nap;
    while (true) {
        bool const isStopped = stop.stop_requested();
        if (state.rank == 0) {
            state.collect();
        }
        if (!isStopped) {
            state.distribute();
        }
        if (!state.ended.empty()) {
            all.insert(all.end(), std::move_iterator(state.ended.begin()),
                       std::move_iterator(state.ended.end()));
            state.ended.clear();
            return true;
        }
        if (isStopped || std::ranges::count(state.isBusy, true) == 0 ||
            std::chrono::steady_clock::now() >= until) {
            return false;
        }
        nap.wait(until);
    }
}

void KrMpiWorkers::cancel() {
    State& state = *state_;
    if (state.communicator == MPI_COMM_NULL) {
        state.local.cancel();
        return;
    }
    for (KrEvaluationRequest const& request : std::exchange(state.waiting, {})) {
        KrEvaluation& evaluation = state.ended.emplace_back();
        evaluation.ticket = request.ticket;
        evaluation.outcome = KrEvaluation::Outcome::Cancelled;
    }
    for (std::size_t to = 1; to < state.isBusy.size(); ++to) {
        if (state.isBusy[to]) {
            state.tell(static_cast<int>(to), Cancel);
        }
    }
}

KrScalarMultivariableFunction const* KrMpiWorkers::directFunction() const {
    return state_->communicator == MPI_COMM_NULL ? state_->local.directFunction() : nullptr;
}
