#pragma once

#include <cstring>

/// Two doubles side by side: two independent results, each with its own operations
/// in its own order, at the price of one. Every x86-64 has the registers, and
/// compilers take it apart elsewhere.
using KrTwo = double __attribute__((vector_size(16)));

inline KrTwo krTwoAt(double const* from) {
    KrTwo two;
    std::memcpy(&two, from, sizeof two);
    return two;
}
