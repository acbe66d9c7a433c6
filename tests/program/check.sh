# shellcheck shell=sh
# `check`, `schema`, and the calls of the program.
. "$2/tests/program/functions.sh"

# Every file of the examples is good, except the damaged ones and a client's own element.
find "$source/examples" -name '*.xml' | grep -Ev '/(damaged|unknown)\.xml$|/08_own_function/' >files
# shellcheck disable=SC2046
expect 0 "$program" check $(cat files)
has out '/line.xml: good, scalarFunctionContainer$' '/optimizer.xml: good, optimizerContainer$'
test "$(wc -l <out)" -eq "$(wc -l <files)"

# Each fault with its position: those of the reader, and those of messages without one. A missing
# file, a folder and a file of another kind are faults too, and the files after them are read.
cp "$source/tests/program/damaged.xml" .
mkdir folder
echo text >text
cp "$source/examples/02_functions/line.xml" .
expect 1 "$program" check damaged.xml absent.xml folder text line.xml
list=optimizerContainer/sequenceOptimizer/optimizerSequence
for fault in "damaged.xml:7:9: $list/nelderMead/simplexEdgeLengths: .*size not equal.* 3, actual -- 1" \
    "damaged.xml:11:7: $list/powerUnitaryMap: .* tag not registered\\." \
    "damaged.xml:11:7: $list/powerUnitaryMap: expected a known element.*" \
    "damaged.xml:13:9: $list/hookeJeeves/directionsMode: expected one of .*" \
    "damaged.xml:14:9: $list/hookeJeeves/reductionFactor: expected a number, found \"0,5\"" \
    "absent.xml: cannot be read: No such file.*" "folder: cannot be read: .*" \
    "text:1:[0-9]+: expected well-formed XML.*" "line.xml: good, scalarFunctionContainer"; do
    head -n 1 out | grep -Eqx -e "$fault" || fail "expected $fault, found $(head -n 1 out)"
    sed -i 1d out
done
test ! -s out

# Lint: the same files are good. Findings and refusals have the form of a compiler's.
# shellcheck disable=SC2046
expect 0 "$program" check --lint $(cat files)
test "$(wc -l <out)" -eq "$(wc -l <files)"
sed 's/<item>8</<item>9</; s/>0.04</>NaN</' "$source/examples/04_tables/aerodynamics.xml" >wing.xml
expect 0 "$program" check wing.xml
expect 3 "$program" check --lint line.xml wing.xml
tables=compositeFunctionContainer/compositeFunctionBranch/tableFunctionInterpolator
has out '^line.xml: good, ' \
    "^wing.xml:11:56: error: $tables/.*/item: the step to 9 is 5, .*bisection\" \[equal-spaced\]$" \
    '^wing.xml:27:45: warning: .*/item/item: a value is NaN .* \[finite\]$'
test "$(wc -l <out)" -eq 4
expect 3 "$program" check --lint --disable=equal-spaced wing.xml
expect 0 "$program" check --lint --disable finite,equal-spaced --disable=range wing.xml
expect 1 "$program" check --lint wing.xml damaged.xml absent.xml line.xml
has out '^damaged.xml:14:9: error: .*: expected a number, found "0,5"$' '\[finite\]$' \
    '^damaged.xml:7:9: error: .*size not equal' '^absent.xml:1:1: error: cannot be read: '
expect 3 "$program" check --lint --as correlation --grid 9 --spacing 0.5 line.xml
has out '^line.xml:3:3: error: .* is 2 at the distance 0.5: .* \[correlation\]$'
expect 0 "$program" check --lint --as correlation "$source/examples/05_random_field/triangular.xml"
for call in '--disable=finite' '--lint --disable=rage' '--lint --as map' '--lint --grid 9' \
    '--lint --as correlation --grid 1' '--lint --as correlation --spacing 0'; do
    # shellcheck disable=SC2086
    expect 2 "$program" check $call line.xml
    has err '^(zeibreku|lint): '
    test ! -s out
done
has err 'expected a positive number, found "0"$'
# The help, the guide and the program have the same rules.
"$program" check --help | sed -n '/^What each rule/,$ s/^  \([a-z-]*\) .*/\1/p' >rules
# shellcheck disable=SC2016
sed -n '/^## The rules/,/^## Corr/ s/^| `\([a-z-]*\)` .*/\1/p' "$source/docs/guide/checking.md" |
    diff - rules

# A name and a text keep their blanks, and the position is printed once.
printf '<nelderMead xmlns="urn:zeibreku:function#"><alpha>a  b</alpha></nelderMead>' >'c  d.xml'
expect 1 "$program" check 'c  d.xml'
has out '^c  d.xml:1:44: nelderMead/alpha: expected a number, found "a  b"$'

# Wrong calls, and output that cannot be written.
expect 0 "$program" --version
has out '^zeibreku [0-9.]+$'
for call in '' --unknown serach check 'schema line.xml' 'check --unknown'; do
    # shellcheck disable=SC2086
    expect 2 "$program" $call
    test ! -s out
    has err '^zeibreku: '
done
for call in schema 'check line.xml' --help; do
    # shellcheck disable=SC2086
    expect 1 sh -c '"$@" >/dev/full' sh "$program" $call
    has err '^zeibreku: standard output: No space left'
    # shellcheck disable=SC2086
    expect 1 sh -c '"$@" >&-' sh "$program" $call
    has err '^zeibreku: standard output: Bad file'
done
# Output to a pipe that nobody reads.
{
    until [ -e closed ]; do sleep 0.01; done
    found=0
    "$program" schema 2>err || found=$?
    echo "$found" >status
} | {
    exec <&-
    touch closed
}
test "$(cat status)" -eq 1
test ! -s err

# The schema of the library.
expect 0 "$program" schema
"$3" | diff -u - out
