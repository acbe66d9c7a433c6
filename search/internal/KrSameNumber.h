#pragma once

#include <cmath>

/// Whether two settings are equal, two NaN too: NaN is the text of "no such limit".
inline bool krSameNumber(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }
