# A line of each kind: all in batches, none, and the best of both modes.
add_run(all
    "multidirectionalSearch +[0-9.]+e-[0-9]+ +509 +100%.*hookeJeeves +[0-9.]+e-[0-9]+ +[0-9]+ +0%.*chain +[0-9.]+e-1[0-9].*Rosenbrock.*tournament +[0-9.]+e-[12][0-9]"
    ${example_dir}/sequence.xml)
add_refusal(missing "absent.xml: cannot be read: No such file or directory" absent.xml)
