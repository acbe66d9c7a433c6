# Errors at rounding level, and those at a singularity, without their last digits.
set(error "[1-9][.][0-9][0-9]e-")
set(rounding "[1-9][.][0-9][0-9]e-1[5-7]")
add_run(orders "^# order exponential runge .*\n2 3[.]85e-04 .*\n20 ${rounding} 3[.]63e-04 .* 4[.]25e-02\n.*\n128 ${rounding} ${rounding} ${rounding} ${error}06 ${error}08 6[.]78e-03\n$")
add_run(order "^# order [a-z ]*\n20 ${rounding} [^\n]*\n$" ${example_dir}/order-20.xml)

# Refusals: the reason and its position.
add_refusal(damaged "damaged.xml:4:3: gaussQuadrature/order: expected an integer, found \"twenty\""
    ${example_dir}/damaged.xml)
add_refusal(unsupported "order-21.xml: there is no rule of order 21" ${example_dir}/order-21.xml)
add_refusal(missing "absent.xml: cannot be read" absent.xml)
add_refusal(two_files "expected at most one argument, FILE.xml" one.xml two.xml)
