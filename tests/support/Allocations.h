#pragma once

#include <cstddef>

/// How often this thread has called `operator new` so far. A sanitizer has its own
/// `operator new`: there it stays 0.
std::size_t allocations();
