# shellcheck shell=sh
# `zeibreku-mpi` on ranks finds what `zeibreku` finds, and continues its record. Arguments: both
# programs, the sources, and how to run a program on three ranks.
zeibreku=$1
shift
. "$2/tests/program/functions.sh"
shift 2
cat >fit.xml <<'XML'
<search xmlns="urn:zeibreku:function#">
  <variables>
    <variable><name>mass</name><start>3</start><lower>0</lower><upper>10</upper></variable>
    <variable><name>drag</name><start>0.3</start></variable>
  </variables>
  <optimizer>
    <nelderMead><maxFunctionEvaluations>60</maxFunctionEvaluations></nelderMead>
  </optimizer>
</search>
XML
sed 's|^</search>|<maxEvaluations>20</maxEvaluations>&|' fit.xml >short.xml
# shellcheck disable=SC2016
bowl='{ x = $1 - 2; y = $2 - 0.25; printf "%.17g\n", x * x + 10 * y * y }'
answer() { grep -Ev '^(evaluations|seconds): ' "$1"; }

expect 0 "$zeibreku" search fit.xml -- awk "$bowl"
answer out >plain

# Words of the command arrive as they are, and the ranks that evaluate count from 0.
# shellcheck disable=SC2016
expect 0 "$@" "$program" search short.xml --record record -- sh -c 'mkdir -p "$ZEIBREKU_WORKER"
    echo "$1 $2" >>words; exec awk "$0"' "$bowl" '[a,b]' ''
has out '^reason: evaluations$' '^evaluations: 20 '
has words '^\[a,b\] $'
test -d 0 && test -d 1 && test ! -e 2
expect 0 "$@" "$program" search fit.xml --record record --report report.xml -- awk "$bowl"
answer out | diff plain -
expect 0 "$zeibreku" verify record
expect 0 "$@" "$program" check report.xml
test "$(wc -l <out)" = 1

# A stop of rank 0 ends the command on its rank, and the record continues.
# shellcheck disable=SC2016
"$@" sh -c 'test "${OMPI_COMM_WORLD_RANK:-$PMI_RANK}" = 0 && echo $$ >pid; exec "$@"' sh \
    "$program" search fit.xml --record stopped -- \
    sh -c 'test "$ZEIBREKU_EVALUATION" != 9 || { kill "$(cat pid)"; exec sleep 600; }
           exec awk "$0"' "$bowl" >out 2>err && fail "expected a status other than 0"
has out '^reason: cancelled$'
expect 0 "$@" "$program" search fit.xml --record stopped -- awk "$bowl"
answer out | diff plain -

# What is refused ends all ranks. So does a rank that dies.
for words in 'search absent.xml -- true' 'search fit.xml -- ./absent' 'unknown'; do
    # shellcheck disable=SC2086
    "$@" "$program" $words >out 2>err && fail "expected a status other than 0: $words"
    has err '^(zeibreku|absent.xml): '
done
# shellcheck disable=SC2016
"$@" "$program" search fit.xml -- sh -c 'kill -s KILL "$PPID"' >out 2>err &&
    fail "expected a status other than 0"
if grep '^reason' out; then
    fail "expected no report"
fi
