#pragma once

/// Marks what the shared libraries export; everything else is hidden (the
/// libraries are compiled with -fvisibility=hidden).
#define KR_EXPORT __attribute__((visibility("default")))

/// The version of the library. The build, the packages and the sources take it from here.
#define KR_VERSION "2.0.0"

/// Gives a source file its version text, for a person who searches a binary for it.
#define KR_SOURCE_VERSION [[maybe_unused]] static constexpr char version[] = KR_VERSION
