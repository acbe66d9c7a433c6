#pragma once

#include "foundation/core/KrExport.h"

class KrRandomStream;

/// Makes `KrRandom`, and so the whole library, draw from `stream` on this thread while the
/// scope exists. `KrRandom::seed` seeds that stream then. Other threads are not affected.
/// Scopes nest: the destructor restores the previous stream. The stream must outlive the
/// scope.
///
///     KrRandomScope const scope(stream);
class KR_EXPORT KrRandomScope {
public:
    /// Begins with `stream`, on the calling thread, on which the scope has to end.
    explicit KrRandomScope(KrRandomStream& stream);
    ~KrRandomScope();
    KrRandomScope(KrRandomScope const&) = delete;
    KrRandomScope& operator=(KrRandomScope const&) = delete;

    /// The stream of the innermost scope on this thread, null when there is none.
    static KrRandomStream* current();

    /// Where `current` is kept for this thread. A caller that changes streams for each call of
    /// another piece of code, and changes them back, saves some nanoseconds.
    static KrRandomStream*& slot();

private:
    KrRandomStream* outer_;
};
