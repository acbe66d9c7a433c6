#pragma once

#include <cstddef>
#include <cstring>

/// Two or four independent doubles, each with its own operations in its own order, at the
/// cost of one. Every x86-64 has registers for two. If a processor lacks the registers, the
/// compiler splits the operations. The results are bit-identical.
using KrTwo = double __attribute__((vector_size(16)));
using KrFour = double __attribute__((vector_size(32)));

/// Loads as many doubles as there are lanes, beginning at `from`.
template <class Lanes>
[[gnu::always_inline]] inline void krLoad(Lanes& lanes, double const* from) {
    std::memcpy(&lanes, from, sizeof lanes);
}

/// Marks a function that is compiled for registers of four doubles, with everything inlined
/// into it. Call it only if `krHasFour()`.
#if defined(__x86_64__)
#define KR_FOUR [[gnu::target("avx2")]]
inline bool krHasFour() { return __builtin_cpu_supports("avx2"); }
#else
#define KR_FOUR
inline bool krHasFour() { return false; }
#endif
