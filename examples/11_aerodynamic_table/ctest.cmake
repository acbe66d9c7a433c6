set(wing ${example_dir}/wing.csv)
string(CONCAT pattern "angle, Mach: lift drag moment\n"
    "best lift/drag 26.1[0-9] at angle [0-9.]+, Mach 0.[0-9]+\n"
    "steepest lift 0.1624 per degree at angle [0-9.-]+, Mach 0.8[0-9]+\n"
    "stable in 71.[0-9]+ % of 1000000 points\n")
add_run(million "${pattern}" ${wing} wing.xml)
add_refusal(missing "absent.csv: cannot be read" absent.csv wing.xml)
add_refusal(points "expected WING.csv WING.xml .POINTS., with 1 to" ${wing} wing.xml 0)
add_refusal(no_table "line.xml:1: expected a value column"
    ${PROJECT_SOURCE_DIR}/examples/02_functions/line.xml wing.xml)
if(ZEIBREKU_BUILD_PROGRAM)
    add_test(NAME example.${example}.program COMMAND sh -ec [=[
        "$1" table "$3" --axes 2 --search equal_spaced,bisection -o program.xml
        "$2" "$3" same.xml 1 && cmp same.xml program.xml]=]
        sh $<TARGET_FILE:zeibreku_program> $<TARGET_FILE:${example}> ${wing})
endif()
