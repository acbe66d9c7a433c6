# Off by default: a new warning of a newer compiler must not break a client's build.
option(ZEIBREKU_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

function(zeibreku_add_warnings target)
    target_compile_options(${target} INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
        # Part of -Wconversion in Clang and not in GCC. Iterator arithmetic with sizes would need a cast
        # on every line.
        -Wno-sign-conversion
        # The vector search and the constraint families overload a base's operations on purpose.
        -Wno-overloaded-virtual
    )
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC 12 reports overlapping copies in std::string's operator+ where there are none.
        target_compile_options(${target} INTERFACE -Wno-restrict)
    endif()
    if(ZEIBREKU_WARNINGS_AS_ERRORS)
        target_compile_options(${target} INTERFACE -Werror)
    endif()
endfunction()
