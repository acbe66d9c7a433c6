# shellcheck shell=sh
# `report`: the figures of the page are those of the record's lines, also when a browser reads it.
. "$2/tests/program/functions.sh"

bounded_search 30 >search.xml
sed 's|^</search>|<maxEvaluations>12</maxEvaluations>&|' search.xml >short.xml

# Two runs, in which every fifth evaluation fails.
# shellcheck disable=SC2016
bowl='{
    if (ENVIRON["ZEIBREKU_EVALUATION"] % 5 == 4) { print "<no> & \"value\""; exit 3 }
    printf "%.17g\n", ($1 - 2) ^ 2 + 10 * ($2 - 0.25) ^ 2
}'
for search in short search; do
    "$program" search "$search.xml" --quiet --record record -- awk "$bowl" >out
done
"$program" report record >page.html

# The figures as "id text". A sealed line ends with its checksum.
awk '$1 == "r" { ++runs }
    $1 == "e" { ++made; failed[$2] = $8 == "failed"; value[$2] = $(NF - 1); x[$2] = $6; y[$2] = $7 }
    $1 == "a" && failed[$3] { ++failures }
    $1 == "a" && !failed[$3] && (best == "" || value[$3] + 0 < value[best] + 0) { best = $3; at = $2 }
    $1 == "a" { ++evaluations }
    END {
        print "best-value", value[best]; print "best-0", x[best]; print "best-1", y[best]
        print "best-evaluation", at; print "evaluations", evaluations
        print "failures", failures; print "made", made; print "runs", runs
    }' record | sort >expected
figures() {
    tr '\n' ' ' <"$1" | sed 's/<[a-z]* id="/\n&/g' |
        sed -n 's/^<[a-z]* id="\([a-z0-9-]*\)"[^>]*>\([^<]*\)<.*/\1 \2/p' | sort
}
# has_figures FILE: each expected figure is in it.
has_figures() {
    figures "$1" | comm -13 - expected >missing
    test ! -s missing || fail "$1: expected $(cat missing)"
}
test "$(wc -l <expected)" -eq 8
has_figures page.html

# Nothing is fetched.
if grep -E '(src|href|data)=|url\(|@import|<script|<link' page.html; then
    fail "expected a page that fetches nothing"
fi

# A search may be writing its next line. A damaged record has no page.
printf 'e 9' >>record
expect 0 "$program" report record
cmp out page.html
echo >>record
expect 1 "$program" report record
test ! -s out

browser=$(command -v chromium || command -v chromium-browser || command -v google-chrome || true)
if [ -z "$browser" ]; then
    echo "skipped: there is no chromium to open the page"
    exit 77
fi
"$browser" --headless --no-sandbox --disable-gpu --user-data-dir=profile --dump-dom \
    "file://$PWD/page.html" >dom.html 2>log || fail "$(cat log)"
has_figures dom.html
# The browser has drawn every picture, and found no fault to correct.
test "$(grep -o '<svg ' dom.html | wc -l)" -eq 4
test "$(grep -o '<path ' dom.html | wc -l)" -eq "$(grep -o '<path ' page.html | wc -l)"
cp page.html page.xhtml
"$browser" --headless --no-sandbox --disable-gpu --user-data-dir=profile --dump-dom \
    "file://$PWD/page.xhtml" >dom.xhtml 2>log || fail "$(cat log)"
has_figures dom.xhtml
if grep -q parsererror dom.xhtml; then
    fail "expected well-formed XML: $(grep parsererror dom.xhtml)"
fi
