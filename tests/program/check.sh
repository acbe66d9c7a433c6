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
has err '^zeibreku: standard output: Broken pipe'

# The schema of the library.
expect 0 "$program" schema
"$3" | diff -u - out
