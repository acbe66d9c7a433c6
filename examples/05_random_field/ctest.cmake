set(exponential ${example_dir}/exponential.xml)
add_run(text "^10.91093[0-9]* 11.50166[0-9]* 10.91958[0-9]*\n11.4024[0-9. ]*\n$"
    ${exponential} 3 2 1 10 100 1)
add_run(no_samples "^2.5 2.5\n2.5 2.5\n$" ${example_dir}/triangular.xml 2 2 1 2.5 0 1)
# A long run prints its progress.
add_run(progress "[0-9]+ of 1000000 samples\n" ${exponential} 16 16 0.1 0 1000000 1)

# The pictures exist and begin with the header of their format.
function(add_picture name file pattern)
    add_test(NAME example.${example}.${name}
        COMMAND sh -c "\"$@\" >/dev/null && od -A n -c -N 12 ${file} && rm ${file}" sh
            $<TARGET_FILE:${example}> ${exponential} 20 10 0.5 0 50 1 ${file})
    set_tests_properties(example.${example}.${name} PROPERTIES PASS_REGULAR_EXPRESSION "${pattern}")
endfunction()
add_picture(pgm field-test.pgm "P   5  .n   2   0       1   0  .n   2   5   5")
if(PNG_FOUND)
    add_picture(png field-test.png "211   P   N   G")
endif()

# Refusals: the reason and its position.
add_refusal(damaged "damaged.xml:4:32: .*/rangeValues/item: expected a number, found \"zero\""
    ${example_dir}/damaged.xml 3 2 1 10 100 1)
add_refusal(identity "identity.xml: expected a positive value at distance 0, found 0"
    ${example_dir}/identity.xml 3 2 1 10 100 1)
add_refusal(missing "absent.xml: cannot be read" absent.xml 3 2 1 10 100 1)
add_refusal(arguments "expected FILE.xml COLUMNS ROWS" ${exponential} 3 2)
add_refusal(size "columns and rows: expected 1 to 4096, found \"5000\""
    ${exponential} 3 5000 1 10 100 1)
add_refusal(spacing "spacing and mean: expected a number, found \"1,5\""
    ${exponential} 3 2 1,5 10 100 1)
add_refusal(seed "samples and seed: expected an integer up to 4294967295, found \"-1\""
    ${exponential} 3 2 1 10 100 -1)
add_refusal(format "expected PICTURE.*found \"field.gif\"" ${exponential} 3 2 1 10 100 1 field.gif)
add_refusal(unwritable "absent/field.pgm: cannot be written"
    ${exponential} 3 2 1 10 100 1 absent/field.pgm)
