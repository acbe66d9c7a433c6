set(wing ${example_dir}/aerodynamics.xml)
# In a table, in the gap between the two, beyond both.
add_run(points "^2 0.65 ok 0.39375 0.02525\n6 1 ok 0.553125 0.109375\n-5 0.5 no\n0 4 no\n$"
    ${wing} 2,0.65 6,1 -5,0.5 0,4)
add_run(grid "^-4 0 ok -0.25 0.02\n12 0 ok .*\n\n-4 3 ok -0.1 0.035\n12 3 ok 0.4 0.11\n\n$"
    ${wing} --grid 2 2)
add_test(NAME example.04_tables.stream
    COMMAND sh -c "printf '2 0.65\\n0, 0\\n' | \"$1\" \"$2\"" sh $<TARGET_FILE:${example}> ${wing})
set_tests_properties(example.04_tables.stream PROPERTIES
    PASS_REGULAR_EXPRESSION "^2 0.65 ok 0.39375 0.02525\n0 0 ok 0.125 0.015\n$")
# The table evaluated: where two overlap, beyond one, beyond another, in a gap of a branch's box.
add_run(leaves "^1.5 2.5 ok 1\n-1 1 ok 1\n6 5 ok 2\n4 0.5 ok 3\n4 1.5 no\n6 0.5 no\n$"
    ${example_dir}/leaves.xml 1.5,2.5 -1,1 6,5 4,0.5 4,1.5 6,0.5)

# Refusals: the reason and its position.
add_refusal(unknown
    "unknown.xml:3:5: compositeFunctionContainer/compositeFunctionBranch/spline: expected a known"
    ${example_dir}/unknown.xml)
add_refusal(missing "absent.xml: cannot be read" absent.xml)
add_refusal(short "expected 2 numbers, found \"1\"" ${wing} 1)
add_refusal(no_number "expected 2 numbers, found \"1,x\"" ${wing} 1,x)
add_refusal(large_grid "10 million points at most" ${wing} --grid 10000 10000)
