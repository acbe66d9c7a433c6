#pragma once

/// Marks what the shared libraries export; everything else is hidden (the
/// libraries are compiled with -fvisibility=hidden).
#define KR_EXPORT __attribute__((visibility("default")))
