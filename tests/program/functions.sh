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

# bounded_search BUDGET: a search of two variables by Nelder-Mead.
bounded_search() {
    cat <<XML
<search xmlns="urn:zeibreku:function#">
  <variables>
    <variable><name>mass</name><start>3</start><lower>0</lower><upper>10</upper></variable>
    <variable><name>drag</name><start>0.3</start><scale>0.1</scale></variable>
  </variables>
  <optimizer>
    <nelderMead>
      <defaultSimplexEdgeLength>0.5</defaultSimplexEdgeLength>
      <maxFunctionEvaluations>$1</maxFunctionEvaluations>
    </nelderMead>
  </optimizer>
</search>
XML
}
