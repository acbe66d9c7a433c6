#include "foundation/math/KrRandomScope.h"

namespace {
[[maybe_unused]] constexpr char version[] = "2.0.0";

thread_local KrRandomStream* innermost = nullptr;

}  // namespace

KrRandomScope::KrRandomScope(KrRandomStream& stream) : outer_(innermost) { innermost = &stream; }

KrRandomScope::~KrRandomScope() { innermost = outer_; }

KrRandomStream* KrRandomScope::current() { return innermost; }
