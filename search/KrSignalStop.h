#pragma once

#include "foundation/core/KrExport.h"

#include <memory>
#include <stop_token>

/// While an object of this class exists, SIGINT and SIGTERM request a stop of the search. A second
/// signal of the same kind ends the process, as without this object. Other signals keep their
/// handlers. At most one object may exist at a time. Any thread may call `token`.
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

    /// The token of the stop that a signal requests.
    std::stop_token token() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};
