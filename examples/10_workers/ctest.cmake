# The same bits on one thread and on four. tests/mpi runs it on ranks.
set(workers_answer [=[conductivity  0.59166662290838001
capacity      1.5801981939972709
transfer      12.107743417426931
misfit        0.017879843405614423 after 166 evaluations]=])
foreach(threads IN ITEMS 1 4)
    add_run(threads.${threads} "${workers_answer}" threads ${threads})
endforeach()
add_refusal(number "expected 1 to 1000 threads, found \"many\"" threads many)
