include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The headers are in include/zeibreku: clients write the same #include lines as the sources, and
# folders such as "function" never clash with those of another library.
set(headers_dir ${CMAKE_INSTALL_INCLUDEDIR}/zeibreku)
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zeibreku)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Only clients with CMake 3.23 take the include folder from the file set. INCLUDES is for older ones.
install(TARGETS krfoundation zeibreku krsearch EXPORT zeibrekuTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION ${headers_dir} COMPONENT development
    INCLUDES DESTINATION ${headers_dir})
install(EXPORT zeibrekuTargets NAMESPACE zeibreku:: DESTINATION ${config_dir}
    COMPONENT development)

if(TARGET krmpi)
    install(TARGETS krmpi EXPORT zeibrekuMpiTargets
        LIBRARY COMPONENT mpi NAMELINK_COMPONENT mpi_development
        ARCHIVE COMPONENT mpi_development
        FILE_SET HEADERS DESTINATION ${headers_dir} COMPONENT mpi_development
        INCLUDES DESTINATION ${headers_dir})
    install(EXPORT zeibrekuMpiTargets NAMESPACE zeibreku:: DESTINATION ${config_dir}
        COMPONENT mpi_development)
endif()

# Clients of a static library link the XML parser and the threads themselves.
get_target_property(type krfoundation TYPE)
if(type STREQUAL "STATIC_LIBRARY")
    set(zeibreku_shared FALSE)
    set(pkgconfig_requires "Requires: expat")
    set(pkgconfig_threads "-pthread")
else()
    set(zeibreku_shared TRUE)
    set(pkgconfig_requires "")
    set(pkgconfig_threads "")
endif()

configure_package_config_file(
    cmake/zeibrekuConfig.cmake.in ${PROJECT_BINARY_DIR}/zeibrekuConfig.cmake
    INSTALL_DESTINATION ${config_dir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/zeibrekuConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/zeibrekuConfig.cmake
    ${PROJECT_BINARY_DIR}/zeibrekuConfigVersion.cmake
    DESTINATION ${config_dir} COMPONENT development)

# The paths in the .pc file are relative to it, so that an installed tree can be moved, and
# `cmake --install --prefix` chooses the place.
file(RELATIVE_PATH pkgconfig_to_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pkgconfig_to_prefix "${pkgconfig_to_prefix}")
set(pkgconfig_names zeibreku zeibreku-search)
if(TARGET krmpi)
    list(APPEND pkgconfig_names zeibreku-mpi)
endif()
foreach(name IN LISTS pkgconfig_names)
    set(component development)
    if(name STREQUAL "zeibreku-mpi")
        set(component mpi_development)
    endif()
    configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir}
        COMPONENT ${component})
endforeach()
