# The libraries read untrusted files. These flags make an attack harder, at less than 1 % of the time
# of any benchmark.
option(ZEIBREKU_HARDENING "Harden the libraries against attacks" ON)

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

function(zeibreku_harden target)
    # A sanitizer finds more than all of these, and some of them disturb it.
    if(NOT ZEIBREKU_HARDENING OR ZEIBREKU_SANITIZERS)
        return()
    endif()
    # Canaries before return addresses, and returns that lead only back to the call. Indirect calls
    # are not protected: that was measured to slow a look-up in a table by up to 6 %. Some compilers
    # warn of a flag of another processor.
    set(CMAKE_REQUIRED_FLAGS -Werror)
    foreach(flag IN ITEMS -fstack-protector-strong -fcf-protection=return
            -mbranch-protection=pac-ret)
        string(MAKE_C_IDENTIFIER "ZEIBREKU_HAS${flag}" has_flag)
        check_cxx_compiler_flag(${flag} ${has_flag})
        if(${has_flag})
            target_compile_options(${target} PRIVATE ${flag})
        endif()
    endforeach()
    unset(CMAKE_REQUIRED_FLAGS)
    # The C library's checks of sizes need an optimised build. A level that is set already stays.
    if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
        target_compile_options(${target} PRIVATE
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    endif()
    # The tables of addresses are filled when the library is loaded, and are read-only afterwards.
    # The start files of the C library support the shadow stack but lack its mark.
    foreach(flag IN ITEMS relro now shstk)
        check_linker_flag(CXX "-Wl,--fatal-warnings,-z,${flag}" ZEIBREKU_HAS_Z_${flag})
        if(ZEIBREKU_HAS_Z_${flag})
            target_link_options(${target} PRIVATE "-Wl,-z,${flag}")
        endif()
    endforeach()
endfunction()
