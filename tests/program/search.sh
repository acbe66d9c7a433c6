# shellcheck shell=sh
# `search` and `verify`: a search whose function is a program.
. "$2/tests/program/functions.sh"

bounded_search 60 >fit.xml
sed 's|^</search>|<maxEvaluations>20</maxEvaluations>&|' fit.xml >short.xml

# shellcheck disable=SC2016
bowl='{ x = $1 - 2; y = $2 - 0.25; printf "%.17g\n", x * x + 10 * y * y }'
# The answer without what differs from run to run.
answer() { grep -Ev '^(evaluations|seconds): ' "$1"; }

# A search from end to end. The report is written as XML too.
expect 0 "$program" search fit.xml --report report.xml -- awk "$bowl"
has out '^reason: finished$' '^value: [0-9.e-]+$' '^mass = (1\.99|2\.00)' '^drag = 0\.2(49|50)' \
    '^evaluations: [0-9]+ \([0-9]+ made, 0 from the record, 0 failed\)$'
test ! -s err
answer out >plain
expect 0 "$program" check report.xml fit.xml
has out '^report.xml: good, searchReport$' '^fit.xml: good, search$'

# The words of the command are its own: values in the place of names, and nothing else changes.
# shellcheck disable=SC2016
expect 0 "$program" search --quiet fit.xml -- sh -c 'echo "$@" >words
    echo "$1 $2" | awk "$0"' "$bowl" '{mass}' '{drag}' '[a,b]' -- '{other}' --quiet --record=r ''
answer out | diff plain -
has words '^[0-9.]+ [0-9.]+ \[a,b\] -- \{other\} --quiet --record=r $'

# A record continues with the same answer, and keeps it; so do several workers.
expect 0 "$program" search short.xml --record record -- awk "$bowl"
has out '^reason: evaluations$' '^evaluations: 20 \(20 made,'
expect 0 "$program" search fit.xml --record record --workers 3 -- awk "$bowl"
answer out | diff plain -
expect 0 "$program" search fit.xml --record record -- awk "$bowl"
has out ' \(0 made, '
answer out | diff plain -

# A record is verified: the same, or the points where it differs. Here evaluation 1 got another
# value, which its checksum covers.
expect 0 "$program" verify record
test "$(cat out)" = same
line=$(grep '^e 1 ' record | sed 's/ [^ ]* [^ ]*$/ -1e9/')
seal=$(printf %s "$line" | gzip -c | tail -c 8 | od -A n -t x1 -N 4 |
    awk '{ print $4 $3 $2 $1 }')
sed "s/^e 1 .*/$line $seal/" record >changed
expect 1 "$program" verify changed
has out '^evaluation [0-9]+ differs: the record has \(.*\), the search asks for \(.*\)$'

# Its page. Another kind of file has none.
expect 0 "$program" report record
has out '^<!DOCTYPE html>' 'mass' '</html>$'
test ! -s err
for subcommand in report verify; do
    expect 1 "$program" "$subcommand" fit.xml
    has err '^fit.xml:1: expected "zeibreku-record 1"'
    test ! -s out
    expect 1 "$program" "$subcommand" .
    # shellcheck disable=SC2016
    expect 1 sh -c '"$@" >/dev/full' sh "$program" "$subcommand" record
    has err '^zeibreku: standard output: No space left'
done

# A signal stops the search while a command runs. The report is printed, and the record continues
# with the same answer.
for signal in INT TERM; do
    rm -f stopped
    # shellcheck disable=SC2016
    expect 130 sh -c 'echo $$ >pid; exec "$@"' sh "$program" search fit.xml --record "$signal" -- \
        sh -c 'if [ "$ZEIBREKU_EVALUATION" = 9 ] && [ ! -e stopped ]; then
                   touch stopped
                   kill -s "$1" "$(cat pid)"
                   exec sleep 600
               fi
               exec awk "$0"' "$bowl" "$signal"
    has out '^reason: cancelled$' '^value: [0-9]' '^evaluations: 9 '
    expect 0 "$program" search fit.xml --record "$signal" -- awk "$bowl"
    has out ', 9 from the record, 0 failed'
    answer out | diff plain -
done

# Commands may write what they like to both outputs. Values of failed ones are not taken.
# shellcheck disable=SC2016
expect 0 "$program" search short.xml --workers 2 -- \
    sh -c 'head -c 3000000 /dev/zero | tr "\0" x; echo heard >&2; echo; echo " 1.5D+0 "; echo'
has out '^value: 1\.5$'
has err '^heard$'
expect 1 "$program" search short.xml -- sh -c 'echo 1; exit 3'
has out '^reason: failed$' '^value: NaN$' '^evaluations: 5 \(5 made, .* 5 failed'
has err '^search: .* found 5 failures and no value; the last one: exit status 3$'

# A search may come from a pipe.
mkfifo pipe
cat fit.xml >pipe &
expect 0 "$program" search pipe -- awk "$bowl"
answer out | diff plain -

# What is refused has a message, status 1, and no evaluation.
mkdir folder
sed 's/>3</>three</' fit.xml >damaged.xml
sed 's/>3</>NaN</' fit.xml >bad.xml
sed 's/>3</>4</' fit.xml >other.xml
refused() {
    pattern=$1
    shift
    rm -f called
    expect 1 "$program" search "$@" -- sh -c 'echo 1; touch called'
    has err "$pattern"
    test ! -e called
}
refused '^damaged.xml:3:[0-9]+: search/variables/variable/start: expected a number' damaged.xml
refused '^search: variable "mass": start: expected a finite number' bad.xml
refused '^absent.xml: ' absent.xml
refused '^folder: ' folder
refused '^report.xml:2:[0-9]+: .*expected ' report.xml
refused '^record:2: expected the record of this search, .* variables differs' other.xml --record record
refused '^absent/record: .*No such file' fit.xml --record absent/record
refused '^report.xml:1: expected "zeibreku-record 1"' fit.xml --record report.xml
refused '^pipe: expected a regular file' fit.xml --record pipe

# A report that cannot be written.
expect 1 "$program" search short.xml --report absent/report.xml -- awk "$bowl"
has out '^reason: evaluations$'
has err '^absent/report.xml: '
# shellcheck disable=SC2016
expect 1 sh -c '"$@" >/dev/full' sh "$program" search short.xml -- awk "$bowl"
has err '^zeibreku: standard output: No space left'

# Wrong calls make no record.
wrong() {
    pattern=$1
    shift
    expect 2 "$program" search "$@"
    has err "$pattern"
    test ! -e new
}
wrong '^zeibreku: -- COMMAND \[ARG...\] is required' fit.xml --record new
wrong '^zeibreku: -- COMMAND \[ARG...\] is required' fit.xml --record new --
wrong '^zeibreku: .*absent' fit.xml --record new -- ./absent
wrong '^zeibreku: .*folder' fit.xml --record new -- ./folder
wrong '^zeibreku: ' fit.xml --record new -- ''
wrong '^zeibreku: .*workers' fit.xml --record new --workers 0 -- awk "$bowl"
wrong '^zeibreku: .*workers' fit.xml --record new --workers two -- awk "$bowl"
wrong '^zeibreku: ' fit.xml --record new --unknown -- awk "$bowl"
wrong '^zeibreku: --record: expected the name of a file, found an empty' fit.xml --record '' -- true
wrong 'new would replace the record$' fit.xml --record new --report ./new -- awk "$bowl"
wrong 'fit.xml would replace the search$' fit.xml --report ./fit.xml -- awk "$bowl"
wrong '^zeibreku: SEARCH.xml is required' --record new -- awk "$bowl"
