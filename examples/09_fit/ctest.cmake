# The published result, to eight digits of the sum of squares and six of the parameters.
add_run(nelder_mead "b1 +1.55438[0-9]* +1.5543827\nb2 +4.08883[0-9]* +4.0888322\nb3 +451.5412[0-9]* +451.54122\nsum of squares +0.0014635887 +0.0014635887\n"
    ${example_dir}/nelder-mead.xml ${example_dir}/transmittance.txt 1 10 500)
add_refusal(measurements "nelder-mead.xml:1: expected numbers, found"
    ${example_dir}/nelder-mead.xml ${example_dir}/nelder-mead.xml 1 10 500)
add_refusal(start "start: expected a number, found \"1x\""
    ${example_dir}/nelder-mead.xml ${example_dir}/transmittance.txt 1x 10 500)
