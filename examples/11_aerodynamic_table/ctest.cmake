set(wing ${example_dir}/wing.csv)
add_run(run "^angle, Mach: lift drag moment\n" ${wing} wing.xml)
add_refusal(missing "absent.csv: cannot be read" absent.csv wing.xml)
add_refusal(no_table "line.xml:3: expected a value column"
    ${PROJECT_SOURCE_DIR}/examples/02_functions/line.xml wing.xml)
if(ZEIBREKU_BUILD_PROGRAM)
    add_test(NAME example.${example}.program COMMAND sh -ec [=[
        "$1" table "$3" --axes 2 --search equal_spaced,bisection -o program.xml
        "$2" "$3" same.xml && cmp same.xml program.xml]=]
        sh $<TARGET_FILE:zeibreku_program> $<TARGET_FILE:${example}> ${wing})
endif()
