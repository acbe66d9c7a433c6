# Every valid file of every example, except the one with a client's own element: the exit status
# is 0.
file(GLOB files CONFIGURE_DEPENDS ${example_dir}/../*/*.xml)
list(FILTER files EXCLUDE REGEX "/(damaged|unknown)\\.xml$|/08_own_function/")
add_test(NAME example.07_check.good COMMAND ${example} ${files})
add_run(kinds "line.xml: good, scalarFunctionContainer\n.*optimizer.xml: good, optimizerContainer\n$"
    ${example_dir}/../02_functions/line.xml ${example_dir}/../02_functions/optimizer.xml)

# Each problem with its position: those of the reader, and those of messages without one.
set(list optimizerContainer/sequenceOptimizer/optimizerSequence)
string(CONCAT problems
    "damaged.xml:7:9: ${list}/nelderMead/simplexEdgeLengths: .*size not equal.* 3, actual -- 1\n"
    "[^\n]*damaged.xml:11:7: ${list}/powerUnitaryMap: .* tag not registered.\n"
    "[^\n]*damaged.xml:11:7: ${list}/powerUnitaryMap: expected a known element[^\n]*\n"
    "[^\n]*damaged.xml:13:9: ${list}/hookeJeeves/directionsMode: expected one of [^\n]*\n"
    "[^\n]*damaged.xml:14:9: ${list}/hookeJeeves/reductionFactor: expected a number, found \"0,5\"\n")
add_refusal(damaged "${problems}$" ${example_dir}/damaged.xml)
# The problems of all files, including a missing one.
add_refusal(several
    "${problems}absent.xml: cannot be read: No such file.*line.xml: good.*04_tables/unknown.xml:3:5: "
    ${example_dir}/damaged.xml absent.xml ${example_dir}/../02_functions/line.xml
    ${example_dir}/../04_tables/unknown.xml)
add_refusal(foreign "ctest.cmake:1:[0-9]+: expected well-formed XML" ${example_dir}/ctest.cmake)
# A name and a text keep their blanks, and the position is printed once.
add_test(NAME example.07_check.blanks COMMAND sh -c [=[
    printf '<nelderMead xmlns="urn:zeibreku:function#"><alpha>a  b</alpha></nelderMead>' >'c  d.xml'
    "$1" 'c  d.xml' | grep -x 'c  d.xml:1:44: nelderMead/alpha: expected a number, found "a  b"']=]
    sh $<TARGET_FILE:${example}>)
# A failed check: a wrong call, and output that cannot be written.
add_test(NAME example.07_check.untold COMMAND sh -c [=[
    "$1"; test $? = 2 || exit 1
    "$1" --schema "$2"; test $? = 2 || exit 1
    "$1" --schema >/dev/full; test $? = 2 || exit 1
    "$1" "$2" >/dev/full; test $? = 2 && echo told]=]
    sh $<TARGET_FILE:${example}> ${example_dir}/../02_functions/line.xml)
set_tests_properties(example.07_check.untold PROPERTIES
    PASS_REGULAR_EXPRESSION "expected FILE.*expected FILE.*No space left.*No space left.*told")
add_test(NAME example.07_check.schema
    COMMAND sh -c "\"$2\" >library.xsd && \"$1\" --schema | diff -u library.xsd -" sh
        $<TARGET_FILE:${example}> $<TARGET_FILE:zeibreku_schema>)
