add_test(NAME example.01_minimise.powell
    COMMAND ${example} ${example_dir}/nelder-mead.xml powell 3 -1 0 1)
set_tests_properties(example.01_minimise.powell PROPERTIES
    PASS_REGULAR_EXPRESSION "value +[0-9.]+e-[0-9]+\npoint .*\nevaluations +[0-9]+")

# What is refused: the reason, with its place, and exit status 1.
function(add_refusal name message)
    add_test(NAME example.01_minimise.${name}
        COMMAND sh -c "out=$(\"$@\" 2>&1); test $? = 1 && printf '%s' \"$out\"" sh ${ARGN})
    set_tests_properties(example.01_minimise.${name} PROPERTIES PASS_REGULAR_EXPRESSION "${message}")
endfunction()
add_refusal(damaged "damaged.xml:5:5: optimizerContainer/nelderMead/alpha: expected a number, found \"1,5\""
    $<TARGET_FILE:${example}> ${example_dir}/damaged.xml powell 3 -1 0 1)
add_refusal(missing "absent.xml: cannot be read: No such file or directory"
    $<TARGET_FILE:${example}> absent.xml powell 3 -1 0 1)
add_refusal(unknown "expected powell or rosenbrock, found \"pawel\""
    $<TARGET_FILE:${example}> ${example_dir}/nelder-mead.xml pawel 3 -1 0 1)
add_refusal(no_number "start component 2: expected a number, found \"-1x\""
    $<TARGET_FILE:${example}> ${example_dir}/nelder-mead.xml powell 3 -1x 0 1)
