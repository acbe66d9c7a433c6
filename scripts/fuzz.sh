#!/usr/bin/env bash
# Fuzzes the readers until a finding or a number of executions, 20 million without one:
#
#   scripts/fuzz.sh [EXECUTIONS]
#
# A fifth of them goes to the value types. What a run has learnt stays in build/fuzz/corpus and
# helps the next one; ZEIBREKU_FUZZ_SEED repeats a run that begins without it.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

executions=${1:-20000000}
set_up checks
cmake --preset fuzz
cmake --build --preset fuzz

# Every name that the libraries know, as a word and as an empty document, beside the examples.
work=$PWD/build/fuzz
rm -rf "$work/seeds"
mkdir -p "$work/seeds" "$work/corpus/documents" "$work/corpus/values"
sed -n 's/.*+ "\([A-Za-z]*\)".*/\1/p; s/.*Token("\([A-Za-z_]*\)".*/\1/p' \
    function/object/KrFunction.cpp foundation/xml/KrXml.cpp | sort -u >"$work/names"
sed 's/.*/"&"/' "$work/names" >"$work/dictionary"
while read -r name; do
    echo "<$name xmlns=\"urn:zeibreku:function#\"/>" >"$work/seeds/empty-$name.xml"
done <"$work/names"
for file in examples/*/*.xml; do
    cp "$file" "$work/seeds/${file//\//-}"
done

# Most of the time would go into stack traces of allocations and into filling them, and into deciding
# what is rare and what could be shorter.
export ASAN_OPTIONS=malloc_context_size=1:quarantine_size_mb=4:max_malloc_fill_size=0
fuzz() {
    local target=$1
    shift
    "$work/fuzz/fuzz_$target" -entropic=0 -reduce_inputs=0 -detect_leaks=0 -timeout=20 -max_len=400 \
        -seed="${ZEIBREKU_FUZZ_SEED:-0}" -print_final_stats=1 -verbosity=0 \
        -dict="$work/dictionary" -artifact_prefix="$work/finding-" "$@" "$work/corpus/$target"
}
fuzz values -runs=$((executions / 5))
fuzz documents -runs=$((executions - executions / 5)) "$work/seeds"
