#!/usr/bin/env bash
# Fuzzes the readers until a finding or a number of executions, 20 million without one:
#
#   scripts/fuzz.sh [EXECUTIONS]
#
# Every core works at them: of twenty, four go to the value types, one to documents put together
# from whole elements, and the others to documents changed by the byte. What a run has learnt stays
# in build/fuzz/corpus and helps the next one. ZEIBREKU_FUZZ_SEED makes a run repeatable, on one
# core and without what was learnt.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

executions=${1:-20000000}
set_up checks
cmake --preset fuzz
cmake --build --preset fuzz

# Every name that the libraries know, as a word and as an empty document, beside the examples.
work=$PWD/build/fuzz
rm -rf "$work/seeds"
mkdir -p "$work/seeds"
sed -n 's/.*+ "\([A-Za-z]*\)".*/\1/p; s/.*Token("\([A-Za-z_]*\)".*/\1/p' \
    function/object/KrFunction.cpp foundation/xml/KrXmlTokens.cpp | sort -u >"$work/names"
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
workers=${ZEIBREKU_FUZZ_SEED:+1}
workers=${workers:-$jobs}

# fuzz TARGET EXECUTIONS LENGTH [SEEDS]: documents of at most LENGTH bytes.
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
fuzz values $((executions / 5)) 400
fuzz elements $((executions / 20)) 3000 "$work/seeds"
fuzz documents $((executions * 3 / 4)) 400 "$work/seeds"
