#pragma once

/// In seconds. A shorter evaluation gains less on another thread than its hand-over may cost: the
/// calling thread makes it, and no search runs ahead of it.
inline constexpr double krShortEvaluation = 200e-6;
