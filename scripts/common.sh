# shellcheck shell=bash
# Sourced by the other scripts, so that they run from any directory, on the whole repository.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

jobs=$(nproc 2>/dev/null || echo 2)
export CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$jobs}
export CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$jobs}

# set_up GROUP...: installs missing packages, then chooses the generator, since Ninja may be among
# them. The presets name no generator, so that they also work without Ninja.
set_up() {
    scripts/setup.sh "$@"
    if [[ -z ${CMAKE_GENERATOR:-} ]] && command -v ninja >/dev/null; then
        export CMAKE_GENERATOR=Ninja
    fi
}

# first_of NAME...: prints the path of the first program that is installed.
first_of() {
    local name
    for name in "$@"; do
        if command -v "$name"; then
            return 0
        fi
    done
    echo "None of these programs is installed: $*" >&2
    return 1
}

# quietly COMMAND...: shows the output of the command only if it fails.
quietly() {
    local log
    log=$(mktemp)
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        return 1
    fi
    rm -f "$log"
}
