#include "foundation/math/KrRandomScope.h"

KR_SOURCE_VERSION;

namespace {

thread_local KrRandomStream* innermost = nullptr;

}  // namespace

KrRandomScope::KrRandomScope(KrRandomStream& stream) : outer_(innermost) { innermost = &stream; }

KrRandomScope::~KrRandomScope() { innermost = outer_; }

KrRandomStream* KrRandomScope::current() { return innermost; }

KrRandomStream*& KrRandomScope::slot() { return innermost; }
