#pragma once

#include <cstddef>

/// Counts the calls of `operator new` that are made in its life, on any thread.
/// Not in a build with sanitizers, which bring their own.
class AllocationCount {
public:
    AllocationCount();
    std::size_t made() const;

private:
    std::size_t before_;
};
