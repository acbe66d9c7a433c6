# zeibreku_add_library(<target>): a library of all sources and headers below the current folder. It is
# shared unless BUILD_SHARED_LIBS is off. The next build finds new files. Headers are public except
# those in a folder called internal.
function(zeibreku_add_library target)
    file(GLOB sources CONFIGURE_DEPENDS *.cpp */*.cpp */internal/*.cpp)
    file(GLOB headers RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} CONFIGURE_DEPENDS *.h */*.h)
    list(FILTER headers EXCLUDE REGEX "(^|/)internal/")

    set(type SHARED)
    if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
        set(type STATIC)
    endif()
    add_library(${target} ${type} ${sources})
    add_library(zeibreku::${target} ALIAS ${target})

    # Headers are included by their path from the root of the repository.
    target_sources(${target} PUBLIC
        FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${headers})

    target_compile_features(${target} PUBLIC cxx_std_20)
    # Exported functions may be inlined into each other, since no program replaces one of them.
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    # Aligned loops do not slow down if code before them changes. Without these flags a change
    # elsewhere made the Nelder-Mead method at n = 100 up to 20 % slower.
    foreach(flag IN ITEMS -falign-functions=64 -falign-loops=64:16)
        string(MAKE_C_IDENTIFIER "ZEIBREKU_HAS${flag}" has_flag)
        check_cxx_compiler_flag(${flag} ${has_flag})
        if(${has_flag})
            target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:${flag}>)
        endif()
    endforeach()
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zeibreku_build_options>)
    zeibreku_harden(${target})

    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_EXTENSIONS OFF
        # A static library may become a part of a shared one.
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        # The libraries are installed side by side and find each other wherever that is.
        INSTALL_RPATH "$ORIGIN"
    )
endfunction()
