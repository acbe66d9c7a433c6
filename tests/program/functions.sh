# shellcheck shell=sh
# Sourced by each test, which runs in an empty folder of its own.
set -eu
# shellcheck disable=SC2034
program=$1
# shellcheck disable=SC2034
source=$2

fail() {
    echo "$1" >&2
    exit 1
}

# expect STATUS COMMAND...: the command ends with the status. Its output goes to `out` and `err`.
expect() {
    wanted=$1
    shift
    found=0
    "$@" >out 2>err || found=$?
    if [ "$found" -ne "$wanted" ]; then
        cat out err >&2
        fail "expected status $wanted, found $found: $*"
    fi
}

# has FILE PATTERN...: each pattern matches a line of the file.
has() {
    file=$1
    shift
    for pattern in "$@"; do
        if ! grep -Eq -e "$pattern" "$file"; then
            cat "$file" >&2
            fail "$file: expected a line with $pattern"
        fi
    done
}
