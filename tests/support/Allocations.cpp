#include "tests/support/Allocations.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>
#include <utility>

namespace {
std::atomic<std::size_t> count{0};
std::atomic<long> live{0};
thread_local std::size_t untilFailure = 0;
}  // namespace

std::size_t allocationCount() { return count; }

long liveAllocations() { return live; }

bool failAllocation(std::size_t next) { return std::exchange(untilFailure, next) == 0; }

static bool fails() { return untilFailure != 0 && --untilFailure == 0; }

#ifdef ZEIBREKU_SANITIZED

void* operator new(std::size_t size) {
    void* const memory = fails() ? nullptr : std::malloc(size);
    return memory ? memory : throw std::bad_alloc();
}

void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return fails() ? nullptr : std::malloc(size);
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

#else

// The C library's allocator, on which `operator new` and expat build both.
extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

static bool countedFails() {
    ++count;
    bool const failing = fails();
    errno = failing ? ENOMEM : errno;
    return failing;
}

void* malloc(std::size_t size) {
    void* const memory = countedFails() ? nullptr : __libc_malloc(size);
    live += memory != nullptr;
    return memory;
}

void* calloc(std::size_t number, std::size_t size) {
    void* const memory = countedFails() ? nullptr : __libc_calloc(number, size);
    live += memory != nullptr;
    return memory;
}

void* realloc(void* old, std::size_t size) {
    void* const memory = countedFails() ? nullptr : __libc_realloc(old, size);
    live += memory && !old;
    return memory;
}

void free(void* memory) {
    live -= memory != nullptr;
    __libc_free(memory);
}

}  // extern "C"

#endif
