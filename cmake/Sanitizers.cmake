set(ZEIBREKU_SANITIZERS "" CACHE STRING
    "Sanitizers to build everything with, as a list: address;undefined or thread")

function(zeibreku_add_sanitizers target)
    if(NOT ZEIBREKU_SANITIZERS)
        return()
    endif()
    list(JOIN ZEIBREKU_SANITIZERS "," names)
    # A report ends the program, since a test that continues after one would pass.
    target_compile_options(${target} INTERFACE
        -fsanitize=${names} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} INTERFACE -fsanitize=${names})
endfunction()
