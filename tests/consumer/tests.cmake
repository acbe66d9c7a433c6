# Installs this build and uses it as a stranger would: by find_package and by pkg-config.
set(consumer_dir ${PROJECT_BINARY_DIR}/consumer)
set(consumer_prefix ${consumer_dir}/prefix)

# Old files go first: a header that is no longer installed must be missed.
add_test(NAME consumer.clean COMMAND ${CMAKE_COMMAND} -E rm -rf ${consumer_dir})
# The prefix is not the configured one, and moves once more before it is used: no installed file may
# know where it was.
add_test(NAME consumer.install
    COMMAND ${CMAKE_COMMAND} --install ${PROJECT_BINARY_DIR} --config $<CONFIG>
        --prefix ${consumer_dir}/installed)
add_test(NAME consumer.move
    COMMAND ${CMAKE_COMMAND} -E rename ${consumer_dir}/installed ${consumer_prefix})
set_tests_properties(consumer.clean PROPERTIES FIXTURES_SETUP consumer_clean)
set_tests_properties(consumer.install PROPERTIES
    FIXTURES_REQUIRED consumer_clean FIXTURES_SETUP consumer_installed)
set_tests_properties(consumer.move PROPERTIES
    FIXTURES_REQUIRED consumer_installed FIXTURES_SETUP consumer_prefix)

add_test(NAME consumer.find_package
    COMMAND ${CMAKE_CTEST_COMMAND}
        --build-and-test ${CMAKE_CURRENT_LIST_DIR} ${consumer_dir}/find_package
        --build-generator ${CMAKE_GENERATOR}
        --build-makeprogram ${CMAKE_MAKE_PROGRAM}
        --build-options
            -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
            -DCMAKE_PREFIX_PATH=${consumer_prefix}
            -Dshared=${zeibreku_shared}
        --test-command consumer)
set_tests_properties(consumer.find_package PROPERTIES FIXTURES_REQUIRED consumer_prefix)
if(TARGET krmpi)
    add_test(NAME consumer.mpi
        COMMAND ${CMAKE_CTEST_COMMAND}
            --build-and-test ${CMAKE_CURRENT_LIST_DIR} ${consumer_dir}/mpi
            --build-generator ${CMAKE_GENERATOR}
            --build-makeprogram ${CMAKE_MAKE_PROGRAM}
            --build-options
                -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
                -DCMAKE_PREFIX_PATH=${consumer_prefix}
                -DMPI_CXX_COMPILER=${MPI_CXX_COMPILER}
                -Dshared=${zeibreku_shared} -Dmpi=ON
            --test-command ranks)
    set_tests_properties(consumer.mpi PROPERTIES FIXTURES_REQUIRED consumer_prefix)
endif()

# The schema that an editor of the client's files is told of.
add_test(NAME consumer.schema
    COMMAND ${CMAKE_COMMAND} -E compare_files ${PROJECT_SOURCE_DIR}/schemas/zeibreku.xsd
        ${consumer_prefix}/${CMAKE_INSTALL_DATADIR}/zeibreku/zeibreku.xsd)
set_tests_properties(consumer.schema PROPERTIES FIXTURES_REQUIRED consumer_prefix)

# The program finds its libraries where they are now.
if(ZEIBREKU_BUILD_PROGRAM)
    add_test(NAME consumer.program
        COMMAND ${consumer_prefix}/${CMAKE_INSTALL_BINDIR}/zeibreku schema)
    set_tests_properties(consumer.program PROPERTIES FIXTURES_REQUIRED consumer_prefix)
endif()

# Within somebody else's project it installs nothing of itself.
add_test(NAME consumer.subproject
    COMMAND ${CMAKE_COMMAND} -D source=${PROJECT_SOURCE_DIR} -D folder=${consumer_dir}/subproject
        -D generator=${CMAKE_GENERATOR} -D compiler=${CMAKE_CXX_COMPILER}
        -P ${CMAKE_CURRENT_LIST_DIR}/subproject.cmake)
set_tests_properties(consumer.subproject PROPERTIES FIXTURES_REQUIRED consumer_clean)

find_package(PkgConfig QUIET)
if(PKG_CONFIG_EXECUTABLE)
    add_test(NAME consumer.pkg_config
        COMMAND ${CMAKE_COMMAND}
            -D compiler=${CMAKE_CXX_COMPILER}
            -D pkg_config=${PKG_CONFIG_EXECUTABLE}
            -D libdir=${consumer_prefix}/${CMAKE_INSTALL_LIBDIR}
            -D source=${CMAKE_CURRENT_LIST_DIR}/main.cpp
            -D program=${consumer_dir}/consumer_by_pkg_config
            -P ${CMAKE_CURRENT_LIST_DIR}/pkg_config.cmake)
    set_tests_properties(consumer.pkg_config PROPERTIES FIXTURES_REQUIRED consumer_prefix)
endif()
