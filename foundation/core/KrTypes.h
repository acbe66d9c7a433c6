#pragma once

#include <cstdint>
#include <vector>

/// Unsigned 32-bit integer: sizes, indices and counts in interfaces and files.
using KrU32 = std::uint32_t;

using KrBoolean = bool;

/// Growable vector of doubles: points, gradients, coefficient lists.
using KrRealVector = std::vector<double>;
