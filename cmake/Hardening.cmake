# The libraries read files of anybody. These flags make an attack harder, at less than 1 % of any
# benchmark's time.
option(ZEIBREKU_HARDENING "Harden the libraries against attacks" ON)

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

function(zeibreku_harden target)
    # A sanitizer sees more than all of these, and some of them disturb it.
    if(NOT ZEIBREKU_HARDENING OR ZEIBREKU_SANITIZERS)
        return()
    endif()
    # Canaries before return addresses, and returns that lead back to the call alone. Protecting
    # indirect calls too was measured: it costs a look-up in a table up to 6 %. A flag of another
    # processor is a warning to some compilers.
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
    # The C library's checks of sizes need the optimiser. A level that was chosen elsewhere stays.
    if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
        target_compile_options(${target} PRIVATE
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE>
            $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
    endif()
    # The tables of addresses are filled when the library is loaded, and read-only from then on. The
    # C library's start files lack the mark of the shadow stack, which their code respects.
    foreach(flag IN ITEMS relro now shstk)
        check_linker_flag(CXX "-Wl,--fatal-warnings,-z,${flag}" ZEIBREKU_HAS_Z_${flag})
        if(ZEIBREKU_HAS_Z_${flag})
            target_link_options(${target} PRIVATE "-Wl,-z,${flag}")
        endif()
    endforeach()
endfunction()
