#pragma once

#include <cstddef>

// A sanitizer has its own allocator: the counts stay 0, and only `operator new` can fail.

/// How often the process has allocated memory so far.
std::size_t allocationCount();

/// How many of the allocations were not released yet.
long liveAllocations();

/// Makes the `count`-th allocation of this thread from now on fail, once. With 0 none fails.
/// Returns whether the failure that was set before has occurred.
bool failAllocation(std::size_t count);
