#pragma once

#include <cstddef>

// Under a sanitizer, which has an allocator of its own, the counts stay 0, and of the
// allocations those of `operator new` alone are made to fail.

/// How often the process has allocated memory so far.
std::size_t allocationCount();

/// How many of the allocations were not released yet.
long liveAllocations();

/// Makes the `count`-th allocation of this thread from now on fail, once; 0: none.
/// False when the one that was asked for before has not come.
bool failAllocation(std::size_t count);
