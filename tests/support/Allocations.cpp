#include "tests/support/Allocations.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::size_t calls = 0;
}

std::size_t allocations() { return calls; }

#ifndef ZEIBREKU_SANITIZED
void* operator new(std::size_t size) {
    ++calls;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#endif
