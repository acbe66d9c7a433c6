# Compiles, links and runs one source file with nothing but a compiler and pkg-config: with the
# libraries behind the program's own code, where a linker looks for what it lacks, and before it.
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
execute_process(
    COMMAND ${pkg_config} --cflags --libs "zeibreku-search >= 2"
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "pkg-config says: ${flags}")
separate_arguments(flags UNIX_COMMAND "${flags}")

execute_process(
    COMMAND ${compiler} -std=c++20 ${flags} -c ${source} -o ${program}.o
    COMMAND_ERROR_IS_FATAL ANY)
set(libraries ${flags} -Wl,-rpath,${libdir})
foreach(order IN ITEMS
        "${program}.o;${libraries}"
        "-Wl,--no-as-needed,--whole-archive;${libraries};-Wl,--no-whole-archive;${program}.o")
    execute_process(COMMAND ${compiler} ${order} -o ${program} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND ${program} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
