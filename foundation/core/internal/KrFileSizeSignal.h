#pragma once

#include <pthread.h>
#include <signal.h>
#include <time.h>

/// Blocks SIGXFSZ on this thread, which would end the process at the limit on a file's size. A
/// write then fails with EFBIG.
class KrFileSizeSignal {
public:
    KrFileSizeSignal() {
        sigset_t pending;
        ::sigpending(&pending);
        ours_ = sigismember(&pending, SIGXFSZ) == 0;
        ::sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &signal_, &before_);
    }
    ~KrFileSizeSignal() {
        timespec const now{};
        if (ours_) {
            ::sigtimedwait(&signal_, nullptr, &now);  // at most one is pending
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    KrFileSizeSignal(KrFileSizeSignal const&) = delete;
    KrFileSizeSignal& operator=(KrFileSizeSignal const&) = delete;

private:
    sigset_t signal_;
    sigset_t before_;
    bool ours_;
};
