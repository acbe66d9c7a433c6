#include "tests/support/Allocations.h"

#if !ZEIBREKU_SANITIZED

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};
}

void* operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(size ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

AllocationCount::AllocationCount() : before_(allocations) {}
std::size_t AllocationCount::made() const { return allocations - before_; }

#endif
