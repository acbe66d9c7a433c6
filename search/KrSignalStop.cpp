#include "search/KrSignalStop.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

KR_SOURCE_VERSION;

namespace {

constexpr std::array handled{SIGINT, SIGTERM};

// A handler may do no more than write to a pipe. A thread reads from it and requests the stop,
// which may call functions of the program.
std::atomic<int> pipeEnd{-1};

extern "C" void noteSignal(int) {
    int const error = errno;
    char const byte = 1;
    static_cast<void>(!write(pipeEnd, &byte, 1));
    errno = error;
}

}  // namespace

struct KrSignalStop::State {
    std::stop_source source;
    std::array<int, 2> ends{-1, -1};
    std::array<struct sigaction, handled.size()> before{};
    std::jthread reader;
};

KrSignalStop::KrSignalStop() : state_(std::make_unique<State>()) {
    State& state = *state_;
    if (pipe2(state.ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "KrSignalStop");
    }
    state.reader = std::jthread([source = state.source, end = state.ends[0]]() mutable {
        char byte = 0;
        ssize_t count = -1;
        while ((count = read(end, &byte, 1)) < 0 && errno == EINTR) {
        }
        if (count == 1) {
            source.request_stop();
        }
    });
    pipeEnd = state.ends[1];
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (std::size_t i = 0; i < handled.size(); ++i) {
        sigaction(handled[i], &action, &state.before[i]);
    }
}

KrSignalStop::~KrSignalStop() {
    for (std::size_t i = 0; i < handled.size(); ++i) {
        sigaction(handled[i], &state_->before[i], nullptr);
    }
    pipeEnd = -1;
    close(state_->ends[1]);  // ends the thread
    state_->reader.join();
    close(state_->ends[0]);
}

std::stop_token KrSignalStop::token() const { return state_->source.get_token(); }
