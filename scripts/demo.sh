#!/usr/bin/env bash
# Takes a fresh checkout to a result: builds the library and an example, fits a model to published
# measurements, kills the fit and resumes it, and shows the message for a damaged search file.
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

fit=build/demo/examples/09_fit
search=examples/09_fit/search.xml
data=examples/09_fit/mgh17.txt
record=build/demo/fit.record
rm -f "$record" build/demo/whole.record

echo
echo "Fitting y = b1 + b2 exp(-b4 x) + b3 exp(-b5 x) by the search"
sed -n '/<variables>/,/<\/optimizer>/p' $search
echo
echo "An evaluation takes 5 ms, as a simulation would. After 500 of them: kill -9."
$fit $search $data $record 0.005 >/dev/null 2>&1 &
until [[ -e $record && $(grep -c '^e ' $record) -ge 500 ]]; do
    kill -0 $!
done
kill -9 $!
wait $! 2>/dev/null || true
tail -n 2 $record

echo
echo "Started again:"
$fit $search $data $record >build/demo/resumed.txt
cat build/demo/resumed.txt
$fit $search $data build/demo/whole.record 2>/dev/null | cmp - build/demo/resumed.txt
echo "A fit that is not disturbed prints the same."

# Writes the damaged file to the build folder and leaves the original alone.
sed 's/>1e-17</>1e-l7</' $search >build/demo/damaged.xml
echo
echo "With a letter l for the digit 1 in the threshold:"
if $fit build/demo/damaged.xml $data build/demo/damaged.record 2>&1; then
    echo "A damaged file was read" >&2
    exit 1
fi
