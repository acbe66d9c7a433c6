# Compiles, links and runs one source file with nothing but a compiler and pkg-config.
set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
execute_process(
    COMMAND ${pkg_config} --cflags --libs "zeibreku >= 2"
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)
message(STATUS "pkg-config says: ${flags}")
separate_arguments(flags UNIX_COMMAND "${flags}")

execute_process(
    COMMAND ${compiler} -std=c++20 ${source} -o ${program} ${flags} -Wl,-rpath,${libdir}
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${program} COMMAND_ERROR_IS_FATAL ANY)
