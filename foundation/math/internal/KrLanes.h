#pragma once

#include <cstddef>
#include <cstring>

/// Doubles side by side: independent results, each with its own operations in its own
/// order, at the price of one. Every x86-64 has registers for two; where a processor
/// lacks them, the compiler takes them apart. The bits are the same.
using KrTwo = double __attribute__((vector_size(16)));
using KrFour = double __attribute__((vector_size(32)));

/// Takes as many doubles as there are lanes, from `from` on.
template <class Lanes>
[[gnu::always_inline]] inline void krLoad(Lanes& lanes, double const* from) {
    std::memcpy(&lanes, from, sizeof lanes);
}

/// Marks a function that is compiled for registers of four doubles, together with what is
/// inlined into it. It is called where `krHasFour` is true.
#if defined(__x86_64__)
#define KR_FOUR [[gnu::target("avx2")]]
inline bool krHasFour() { return __builtin_cpu_supports("avx2"); }
#else
#define KR_FOUR
inline bool krHasFour() { return false; }
#endif
