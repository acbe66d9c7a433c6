#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

/// What a call of `work` takes.
template <class Work>
double nanoseconds(Work const& work) {
    auto const begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin)
        .count();
}

/// Reorders the times.
inline double median(std::vector<double>& times) {
    auto const middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}
