# A line of each kind: all in batches, none, and the best of both modes.
add_test(NAME example.03_compare.all COMMAND ${example} ${example_dir}/sequence.xml)
set_tests_properties(example.03_compare.all PROPERTIES PASS_REGULAR_EXPRESSION
    "multidirectionalSearch +[0-9.]+e-[0-9]+ +509 +100%.*hookeJeeves +[0-9.]+e-[0-9]+ +[0-9]+ +0%.*chain +[0-9.]+e-1[0-9].*Rosenbrock.*tournament +[0-9.]+e-[12][0-9]")
# What is refused: the reason, and exit status 1.
add_test(NAME example.03_compare.missing
    COMMAND sh -c "out=$(\"$@\" 2>&1); test $? = 1 && printf '%s' \"$out\"" sh
    $<TARGET_FILE:${example}> absent.xml)
set_tests_properties(example.03_compare.missing PROPERTIES PASS_REGULAR_EXPRESSION
    "absent.xml: cannot be read: No such file or directory")
