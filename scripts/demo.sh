#!/usr/bin/env bash
# From a fresh checkout to a minimum: builds the library and the first example, and runs that.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

set_up demo

# A folder of its own: the release build also wants the tests' and benchmarks' packages. Somebody
# else's compiler may warn of something new, which is no reason to show nothing.
echo "Building in build/demo ..."
quietly cmake --preset release -B build/demo \
    -D ZEIBREKU_BUILD_TESTS=OFF -D ZEIBREKU_BUILD_BENCHMARKS=OFF \
    -D ZEIBREKU_WARNINGS_AS_ERRORS=OFF
quietly cmake --build build/demo --target 01_minimise

example=(build/demo/examples/01_minimise examples/01_minimise/nelder-mead.xml powell 3 -1 0 1)
echo "\$ ${example[*]}"
"${example[@]}"
