#pragma once

#include <cstddef>

/// How often the process has allocated by `operator new` so far. Always 0 under a
/// sanitizer, which has an `operator new` of its own.
std::size_t allocationCount();
