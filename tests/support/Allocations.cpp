#include "tests/support/Allocations.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <utility>

namespace {
std::atomic<std::size_t> count{0};
std::atomic<long> live{0};
thread_local std::size_t untilFailure = 0;
}  // namespace

std::size_t allocationCount() { return count; }

long liveAllocations() { return live; }

bool failAllocation(std::size_t next) { return std::exchange(untilFailure, next) == 0; }

#ifndef ZEIBREKU_SANITIZED

// The C library's allocator, on which `operator new` and expat build both.
extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

static bool fails() {
    ++count;
    bool const failing = untilFailure != 0 && --untilFailure == 0;
    errno = failing ? ENOMEM : errno;
    return failing;
}

void* malloc(std::size_t size) {
    void* const memory = fails() ? nullptr : __libc_malloc(size);
    live += memory != nullptr;
    return memory;
}

void* calloc(std::size_t number, std::size_t size) {
    void* const memory = fails() ? nullptr : __libc_calloc(number, size);
    live += memory != nullptr;
    return memory;
}

void* realloc(void* old, std::size_t size) {
    void* const memory = fails() ? nullptr : __libc_realloc(old, size);
    live += memory && !old;
    return memory;
}

void free(void* memory) {
    live -= memory != nullptr;
    __libc_free(memory);
}

}  // extern "C"

#endif
