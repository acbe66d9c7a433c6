add_run(line "# x y\n-1 -1\n0 1\n1 3\n" ${example_dir}/line.xml -1 1 2)
add_run(points "\n-1 -10\n0 -?0\n1 10\n2 -?0\n3 -10\n" ${example_dir}/points.xml -1 3 4)
add_run(s_curve "\n0 0\n0.25 0.0625\n0.5 0.5\n0.75 0.9375\n1 1\n" ${example_dir}/s-curve.xml 0 1 4)
add_run(quadratic "\n0 -3 1 0\n1 3 0.961523[0-9]* 0.274721[0-9]*\n" ${example_dir}/quadratic.xml 0 1 1 2)

# Refusals: the reason and its position.
set(place multivariableConstraintContainer/linearMultivariableConstraint/firstOrderIndices/item)
add_refusal(damaged "damaged.xml:6:7: ${place}: expected an integer from 0 to 4294967295"
    ${example_dir}/damaged.xml 0 1 1)
add_refusal(unknown "unknown.xml:3:3: unitaryMapContainer/linearScalarFunction: expected a known"
    ${example_dir}/unknown.xml 0 1 1)
add_refusal(foreign "ctest.cmake:1:[0-9]+: expected well-formed XML" ${example_dir}/ctest.cmake 0 1 1)
add_refusal(other "optimizer.xml: expected a container of .* found \"optimizerContainer\""
    ${example_dir}/optimizer.xml 0 1 1)
add_refusal(missing "absent.xml: cannot be read" absent.xml 0 1 1)
add_refusal(components "line.xml: a function has no further components"
    ${example_dir}/line.xml 0 1 1 7)
add_refusal(no_number "expected two numbers, found \"0\" and \"one\"" ${example_dir}/line.xml 0 one 1)
add_refusal(no_intervals "intervals: expected 1 to 1000000, found \"0\"" ${example_dir}/line.xml 0 1 0)
