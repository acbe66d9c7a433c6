# The document is printed unchanged after the values.
file(READ ${example_dir}/settings.xml settings)
string(REGEX REPLACE "([?.])" "\\\\\\1" settings "${settings}")
add_run(settings "^f.0. = 8\nf.1. = 1\\.08268\nf.2. = 0\\.146525\n${settings}$"
    ${example_dir}/settings.xml)

set(place scalarFunctionContainer/decay/length)
add_refusal(damaged "damaged.xml:4:5: ${place}: expected a number, found \"half a metre\""
    ${example_dir}/damaged.xml)

# CONTRIBUTING.md shows this program and its settings.
add_test(NAME example.${example}.quoted
    COMMAND ${CMAKE_COMMAND} -D document=${PROJECT_SOURCE_DIR}/CONTRIBUTING.md
        -D quoted=${example_dir}/main.cpp$<SEMICOLON>${example_dir}/settings.xml
        -P ${example_dir}/quoted.cmake)
