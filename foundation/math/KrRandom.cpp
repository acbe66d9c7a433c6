#include "foundation/math/KrRandom.h"

#include "foundation/math/KrRandomScope.h"
#include "foundation/math/KrRandomStream.h"

#include <mutex>

KR_SOURCE_VERSION;

namespace {

struct Shared {
    std::mutex mutex;
    KrRandomStream stream;
};

Shared& shared() {
    static Shared instance;
    return instance;
}

// Calls `use` with the stream of this thread's scope, else with the shared one.
template <class Use>
auto withStream(Use use) {
    if (KrRandomStream* const own = KrRandomScope::current()) {
        return use(*own);
    }
    Shared& common = shared();
    std::lock_guard const lock(common.mutex);
    return use(common.stream);
}

}  // namespace

void KrRandom::seed(KrU32 seed) {
    withStream([=](KrRandomStream& stream) { stream.seed(seed); });
}

KrRealVector KrRandom::normalRandoms(double mean, double standardDeviation, KrU32 count) {
    return withStream([=](KrRandomStream& stream) {
        return stream.normalRandoms(mean, standardDeviation, count);
    });
}

double KrRandom::uniformRealRandom(double low, double high) {
    return withStream([=](KrRandomStream& stream) { return stream.uniformRealRandom(low, high); });
}
