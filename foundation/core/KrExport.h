#pragma once

/// Marks what the shared libraries export. They are compiled with -fvisibility=hidden,
/// which hides everything else.
#define KR_EXPORT __attribute__((visibility("default")))

/// The version of the library. The build, the packages and the sources take it from here.
#define KR_VERSION "2.0.0"

/// Gives a source file its version text, which a search in a binary finds.
#define KR_SOURCE_VERSION [[maybe_unused, gnu::used]] static constexpr char version[] = KR_VERSION
