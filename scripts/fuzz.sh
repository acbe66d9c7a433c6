#!/usr/bin/env bash
# Fuzzes the readers on all cores until a finding, or for a number of executions, by default 20
# million:
#
#   scripts/fuzz.sh [EXECUTIONS]
#
# Of twenty executions, three go to the value types, one to CSV files, one to the records of
# searches, one to documents made of whole elements, and fourteen to documents changed by the byte.
# Each run keeps its corpus in build/fuzz/corpus for the next one. ZEIBREKU_FUZZ_SEED runs on one
# core and makes the run repeatable from an empty corpus.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

executions=${1:-20000000}
set_up checks
cmake --preset fuzz
cmake --build --preset fuzz

# The seeds: an empty document for every name of the libraries, and the examples. The names are also
# the dictionary.
work=$PWD/build/fuzz
rm -rf "$work/seeds"
mkdir -p "$work/seeds"
sed -n 's/.*+ "\([A-Za-z]*\)".*/\1/p; s/.*Token[({]"\([A-Za-z_]*\)".*/\1/p' \
    function/object/KrFunction.cpp foundation/xml/KrXmlTokens.cpp | sort -u >"$work/names"
sed 's/.*/"&"/' "$work/names" >"$work/dictionary"
while read -r name; do
    echo "<$name xmlns=\"urn:zeibreku:function#\"/>" >"$work/seeds/empty-$name.xml"
done <"$work/names"
for file in examples/*/*.xml; do
    cp "$file" "$work/seeds/${file//\//-}"
done

# Without these options, and -entropic=0 and -reduce_inputs=0 below, most of the time goes to stack
# traces of allocations, to filling them, and to ranking and shortening the inputs.
export ASAN_OPTIONS=malloc_context_size=1:quarantine_size_mb=4:max_malloc_fill_size=0
workers=${ZEIBREKU_FUZZ_SEED:+1}
workers=${workers:-$jobs}

# fuzz TARGET EXECUTIONS LENGTH [SEEDS]: runs a target with documents of at most LENGTH bytes.
fuzz() {
    local target=$1 executions=$2 length=$3 corpus=$work/corpus/$1 begun=$SECONDS
    local each=$((executions / workers)) pids=() pid worker failed=0
    shift 3
    mkdir -p "$corpus"
    for ((worker = 1; worker <= workers; ++worker)); do
        "$work/fuzz/fuzz_$target" -entropic=0 -reduce_inputs=0 -detect_leaks=0 -timeout=20 \
            -max_len="$length" -runs="$each" -seed="${ZEIBREKU_FUZZ_SEED:-0}" -verbosity=0 \
            -dict="$work/dictionary" -artifact_prefix="$work/finding-" "$corpus" "$@" \
            >"$work/$target-$worker.log" 2>&1 &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || failed=1
    done
    if ((failed)); then
        cat "$work/$target"-*.log >&2
        return 1
    fi
    awk -v target="$target" -v count=$((each * workers)) -v took=$((SECONDS - begun)) \
        'BEGIN { printf "%-10s %9d executions, %6.0f a second\n", target, count,
                        count / (took > 0 ? took : 1) }'
}
rm -f "$work"/*.log
fuzz values $((executions * 3 / 20)) 400
fuzz tables $((executions / 20)) 200
fuzz records $((executions / 20)) 60
fuzz elements $((executions / 20)) 3000 "$work/seeds"
fuzz documents $((executions * 7 / 10)) 400 "$work/seeds"
