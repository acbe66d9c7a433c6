# Debian packages, by `cpack` in a build folder of the preset `package`: the run-time libraries,
# what a client is built with, the program, and the documentation.
#
# All libraries but that for MPI are in one package: their versions and sonames always change
# together.
find_program(GZIP_PROGRAM gzip)
find_program(DPKG_PROGRAM dpkg-deb)
if(NOT GZIP_PROGRAM OR NOT DPKG_PROGRAM)
    return()
endif()

set(debian_dir ${PROJECT_SOURCE_DIR}/cmake/debian)
set(runtime_package libzeibreku${PROJECT_VERSION_MAJOR})
set(development_package libzeibreku-dev)
set(documentation_package libzeibreku-doc)
set(program_package ${PROJECT_NAME})
set(mpi_package libzeibreku-mpi${PROJECT_VERSION_MAJOR})
set(mpi_development_package libzeibreku-mpi-dev)
set(mpi_program_package ${PROJECT_NAME}-mpi)
set(python_package python3-${PROJECT_NAME})
set(components runtime development documentation)
if(ZEIBREKU_BUILD_PROGRAM)
    list(APPEND components program)
endif()
if(TARGET krmpi)
    list(APPEND components mpi mpi_development)
    if(ZEIBREKU_BUILD_PROGRAM)
        list(APPEND components mpi_program)
    endif()
endif()
if(TARGET zeibreku_python)
    list(APPEND components python)
endif()

file(STRINGS ${debian_dir}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^${PROJECT_NAME} \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "cmake/debian/changelog begins with \"${newest}\", not ${PROJECT_VERSION}")
endif()

# Each package has its copyright file and its changelog. A plain `cmake --install` leaves out these
# files and the documentation.
set(changelog ${PROJECT_BINARY_DIR}/debian/changelog.gz)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/debian)
execute_process(
    COMMAND ${GZIP_PROGRAM} -9nc ${debian_dir}/changelog
    OUTPUT_FILE ${changelog}
    COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS components)
    install(FILES ${debian_dir}/copyright ${changelog}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${${component}_package}
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation_package}
    COMPONENT documentation EXCLUDE_FROM_ALL)
install(DIRECTORY docs examples
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation_package}
    COMPONENT documentation EXCLUDE_FROM_ALL
    PATTERN reference EXCLUDE PATTERN CMakeLists.txt EXCLUDE PATTERN ctest.cmake EXCLUDE)
install(DIRECTORY ${PROJECT_BINARY_DIR}/reference/html
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${documentation_package}
    COMPONENT documentation EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "zeibreku developers <zeibreku@zeibreku.invalid>")
set(CPACK_DEBIAN_PACKAGE_SOURCE ${PROJECT_NAME})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(about "Objects with settings, such as optimizers and tables, are read from XML and
written to it. Every result is the same to the last bit on every machine.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# A trigger announces the libraries to the dynamic linker. Without scripts of ours CPack would write
# some that call ldconfig, which no package should have. The files named here do not exist, and CPack
# skips them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${debian_dir}/triggers ${debian_dir}/postinst ${debian_dir}/postrm)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${about}
This package holds the shared libraries.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS ${documentation_package})
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${about}
This package holds the headers and what CMake and pkg-config need.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME ${documentation_package})
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_DESCRIPTION "${about}
This package holds the guide, the examples and the reference of all classes.")

# The libraries of the same version, which dpkg-shlibdeps finds in their build folders.
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${program_package})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/foundation ${PROJECT_BINARY_DIR}/function ${PROJECT_BINARY_DIR}/search
    ${PROJECT_BINARY_DIR}/mpi)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS ${documentation_package})
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "${about}
This package holds the program zeibreku: searches whose function is a program,
with a record to resume them, and checks of XML files.")

# What needs MPI has packages of its own.
set(mpi_headers_package libopenmpi-dev)
if("mpich" IN_LIST MPI_CXX_LIB_NAMES)
    set(mpi_headers_package libmpich-dev)
endif()
set(CPACK_DEBIAN_MPI_PACKAGE_NAME ${mpi_package})
set(CPACK_DEBIAN_MPI_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MPI_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_MPI_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_MPI_PACKAGE_CONTROL_EXTRA ${CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA})
set(CPACK_DEBIAN_MPI_DESCRIPTION "${about}
This package holds the shared library for searches over the ranks of MPI.")

set(CPACK_DEBIAN_MPI_DEVELOPMENT_PACKAGE_NAME ${mpi_development_package})
set(CPACK_DEBIAN_MPI_DEVELOPMENT_PACKAGE_SECTION libdevel)
string(CONCAT CPACK_DEBIAN_MPI_DEVELOPMENT_PACKAGE_DEPENDS "${mpi_package} (= ${PROJECT_VERSION}), "
    "${development_package} (= ${PROJECT_VERSION}), ${mpi_headers_package}")
set(CPACK_DEBIAN_MPI_DEVELOPMENT_PACKAGE_SUGGESTS ${documentation_package})
set(CPACK_DEBIAN_MPI_DEVELOPMENT_DESCRIPTION "${about}
This package holds the header for searches over the ranks of MPI, and what
CMake and pkg-config need.")

set(CPACK_DEBIAN_MPI_PROGRAM_PACKAGE_NAME ${mpi_program_package})
set(CPACK_DEBIAN_MPI_PROGRAM_PACKAGE_SECTION science)
set(CPACK_DEBIAN_MPI_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_MPI_PROGRAM_PACKAGE_DEPENDS "${mpi_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_MPI_PROGRAM_PACKAGE_SUGGESTS ${documentation_package})
set(CPACK_DEBIAN_MPI_PROGRAM_DESCRIPTION "${about}
This package holds the program zeibreku-mpi: searches whose function is a
program that runs on the ranks of MPI.")

# An extension is for one version of Python.
math(EXPR next_minor "${Python_VERSION_MINOR} + 1")
string(CONCAT CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${runtime_package} (= ${PROJECT_VERSION}), "
    "python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}~), "
    "python3 (<< ${Python_VERSION_MAJOR}.${next_minor}), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME ${python_package})
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS
    "python3-scipy, python3-matplotlib, ${documentation_package}")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "${about}
This package holds the Python module: the objects with their documents, and
searches with the arguments and results of SciPy.")

include(CPack)
