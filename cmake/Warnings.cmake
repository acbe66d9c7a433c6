# Off by default: a newer compiler with a new warning must not break a stranger's build.
option(ZEIBREKU_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)

function(zeibreku_add_warnings target)
    target_compile_options(${target} INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
        # Clang counts it as part of -Wconversion and GCC does not; iterator arithmetic with sizes
        # would drown in casts.
        -Wno-sign-conversion
        # The vector search and the constraint families overload a base's operations on purpose.
        -Wno-overloaded-virtual
    )
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC 12 sees overlapping copies in std::string's operator+ that are not there.
        target_compile_options(${target} INTERFACE -Wno-restrict)
    endif()
    if(ZEIBREKU_WARNINGS_AS_ERRORS)
        target_compile_options(${target} INTERFACE -Werror)
    endif()
endfunction()
