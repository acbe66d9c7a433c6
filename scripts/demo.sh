#!/usr/bin/env bash
# Takes a fresh checkout to a result: builds the library and an example, fits a model to published
# measurements, and shows the message for a damaged settings file.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

set_up demo

# Has its own build folder, since the release build needs the packages of the tests and benchmarks.
# Warnings are not errors here: an unknown compiler may have new ones.
echo "Building in build/demo ..."
quietly cmake --preset release -B build/demo \
    -D ZEIBREKU_BUILD_TESTS=OFF -D ZEIBREKU_BUILD_BENCHMARKS=OFF \
    -D ZEIBREKU_WARNINGS_AS_ERRORS=OFF
quietly cmake --build build/demo --target 09_fit

program=build/demo/examples/09_fit
files=examples/09_fit
echo
echo "The transmittance of a filter, y = b1 / b2 exp(-((x - b3) / b2)^2 / 2), by the settings"
sed -n '/<nelderMead>/,/<\/nelderMead>/p' $files/nelder-mead.xml
$program $files/nelder-mead.xml $files/transmittance.txt 1 10 500

# Writes the damaged file to the build folder and leaves the original alone.
sed 's/>1e-15</>1e-l5</' $files/nelder-mead.xml >build/demo/damaged.xml
echo
echo "With a letter l for the digit 1 in the threshold:"
if $program build/demo/damaged.xml $files/transmittance.txt 1 10 500 2>&1; then
    echo "A damaged file was read" >&2
    exit 1
fi
