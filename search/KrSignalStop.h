#pragma once

#include "foundation/core/KrExport.h"

#include <memory>
#include <stop_token>

/// Turns SIGINT and SIGTERM into a stop of a search while it lives. A second signal of the same
/// kind ends the process, as it does without this object. One object lives at a time. Any thread
/// may call `token`.
///
///     KrSignalStop const signals;
///     search.run(f, {.stop = signals.token()});
class KR_EXPORT KrSignalStop {
public:
    /// Installs the handlers. Throws `std::system_error` if there is no file descriptor left.
    KrSignalStop();
    /// Restores the handlers that were there before.
    ~KrSignalStop();
    KrSignalStop(KrSignalStop const&) = delete;
    KrSignalStop& operator=(KrSignalStop const&) = delete;

    /// Requests a stop when a signal arrives.
    std::stop_token token() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};
