# The compile options of all targets, in one interface target. It is linked privately and never
# exported.
include(${CMAKE_CURRENT_LIST_DIR}/Warnings.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Sanitizers.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Hardening.cmake)

# Results are bit-identical on every machine. A flag that lets the compiler reorder a sum would change
# them silently, so such a build is refused.
string(TOUPPER "${CMAKE_BUILD_TYPE}" zeibreku_build_type)
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${zeibreku_build_type}} "
        MATCHES "-(Ofast|ffast-math|funsafe-math-optimizations|fassociative-math) ")
    message(FATAL_ERROR "zeibreku: ${CMAKE_MATCH_0}changes the results; build without it")
endif()

add_library(zeibreku_build_options INTERFACE)
target_compile_features(zeibreku_build_options INTERFACE cxx_std_20)

# Without this flag the compiler may fuse a multiplication with an addition if the processor can.
# The last bit of a result would then depend on the processor.
target_compile_options(zeibreku_build_options INTERFACE -ffp-contract=off)

zeibreku_add_warnings(zeibreku_build_options)
zeibreku_add_sanitizers(zeibreku_build_options)
