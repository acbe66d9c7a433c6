# The certified result to seven digits. Killed in the middle, the fit resumes and prints the same.
add_test(NAME example.09_fit.resumes COMMAND sh -c [=[
    rm -f whole.record killed.record
    "$1" "$2" "$3" whole.record 2>whole.log | tee whole.txt
    "$1" "$2" "$3" killed.record 0.005 >/dev/null &
    until test "$(wc -l <killed.record)" -gt 300; do kill -0 $! || exit 1; done 2>/dev/null
    kill -9 $! && ! wait $! && "$1" "$2" "$3" killed.record >resumed.txt &&
        cmp whole.txt resumed.txt]=]
    sh $<TARGET_FILE:${example}> ${example_dir}/search.xml ${example_dir}/mgh17.txt)
string(CONCAT pattern
    "b1 +3.754100[0-9]*e-01 +3.7541005211e-01\n"
    "b2 +1.935846[0-9]*e.00 +1.9358469127e.00\n"
    "b3 +-1.464687[0-9]*e.00 +-1.4646871366e.00\n"
    "b4 +1.286753[0-9]*e-02 +1.2867534640e-02\n"
    "b5 +2.212269[0-9]*e-02 +2.2122699662e-02\n"
    "sum of squares +5.4648946975e-05 +5.4648946975e-05\n.*"
    "[0-9]+ evaluations: [1-9][0-9][0-9]+ from the record, [0-9]+ made now\n$")
set_tests_properties(example.09_fit.resumes PROPERTIES PASS_REGULAR_EXPRESSION "${pattern}")
add_refusal(measurements "search.xml:1: expected numbers, found"
    ${example_dir}/search.xml ${example_dir}/search.xml record)
