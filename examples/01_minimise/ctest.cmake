add_run(powell "value +[0-9.]+e-[0-9]+\npoint .*\nevaluations +[0-9]+"
    ${example_dir}/nelder-mead.xml powell 3 -1 0 1)
# The first points of each search.
foreach(settings IN ITEMS nelder-mead hooke-jeeves multidirectional implicit-filtering sequence)
    add_run(${settings} "^24.2 -1.2 1\n7.22 -0.9 1\n(6.8 -1.2 1.3|27.62 -0.9 1.3)\n"
        --trace ${example_dir}/${settings}.xml rosenbrock -1.2 1)
endforeach()

# Refusals: the reason and its position.
add_refusal(damaged "damaged.xml:5:5: optimizerContainer/nelderMead/alpha: expected a number, found \"1,5\""
    ${example_dir}/damaged.xml powell 3 -1 0 1)
add_refusal(missing "absent.xml: cannot be read: No such file or directory" absent.xml powell 3 -1 0 1)
add_refusal(unknown "expected powell or rosenbrock, found \"pawel\""
    ${example_dir}/nelder-mead.xml pawel 3 -1 0 1)
add_refusal(no_number "start component 2: expected a number, found \"-1x\""
    ${example_dir}/nelder-mead.xml powell 3 -1x 0 1)
