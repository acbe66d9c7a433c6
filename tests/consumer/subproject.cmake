# Configures a project that has ours inside, and looks at what an installation of it would bring.
file(WRITE ${folder}/CMakeLists.txt "
    cmake_minimum_required(VERSION 3.25)
    project(outer LANGUAGES CXX)
    add_subdirectory(${source} zeibreku)
    get_property(own DIRECTORY ${source} PROPERTY BUILDSYSTEM_TARGETS)
    if(NOT own STREQUAL zeibreku_build_options)
        message(FATAL_ERROR \"Besides the libraries it builds \${own}\")
    endif()
")
foreach(install IN ITEMS OFF ON)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -S ${folder} -B ${folder}/build -G ${generator}
            -D CMAKE_CXX_COMPILER=${compiler} -D ZEIBREKU_INSTALL=${install}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(READ ${folder}/build/zeibreku/cmake_install.cmake rules)
    if(install STREQUAL "ON" AND NOT rules MATCHES "zeibrekuTargets" OR
            install STREQUAL "OFF" AND rules MATCHES "file[(]INSTALL")
        message(FATAL_ERROR "ZEIBREKU_INSTALL=${install} is not followed: ${rules}")
    endif()
endforeach()
