# The target `reference`: the public classes and operations as HTML in <build>/reference/html.
find_package(Doxygen 1.9 QUIET)
if(NOT DOXYGEN_FOUND)
    return()
endif()

# A missing description fails the build of the reference.
set(DOXYGEN_WARN_IF_UNDOCUMENTED YES)
set(DOXYGEN_WARN_NO_PARAMDOC NO)
set(DOXYGEN_WARN_AS_ERROR FAIL_ON_WARNINGS)

set(DOXYGEN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/reference)
set(DOXYGEN_FILE_PATTERNS *.h KrFunction.cpp)  # which has the tokens' texts
set(DOXYGEN_EXCLUDE_PATTERNS */internal/*)
set(DOXYGEN_INPUT_FILTER "perl ${PROJECT_SOURCE_DIR}/docs/reference/filter.pl")
set(DOXYGEN_USE_MDFILE_AS_MAINPAGE ${PROJECT_SOURCE_DIR}/docs/reference/mainpage.md)
set(DOXYGEN_STRIP_FROM_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_STRIP_FROM_INC_PATH ${PROJECT_SOURCE_DIR})
set(DOXYGEN_FULL_PATH_NAMES YES)

# The order of the virtual operations is part of the interface, so nothing is sorted.
set(DOXYGEN_SORT_MEMBER_DOCS NO)
set(DOXYGEN_JAVADOC_AUTOBRIEF YES)
set(DOXYGEN_MACRO_EXPANSION YES)
set(DOXYGEN_EXPAND_ONLY_PREDEF YES)
set(DOXYGEN_PREDEFINED KR_EXPORT= KR_EARLY= KR_SOURCE_VERSION=)
# KrXmlText describes its specialisations.
set(DOXYGEN_EXCLUDE_SYMBOLS "KrXmlText<*")

set(DOXYGEN_GENERATE_LATEX NO)
set(DOXYGEN_HAVE_DOT NO)
set(DOXYGEN_SHOW_USED_FILES NO)
set(DOXYGEN_HTML_TIMESTAMP NO)
set(DOXYGEN_QUIET YES)

doxygen_add_docs(reference foundation function search mpi docs/reference/mainpage.md
    COMMENT "Describing the public classes in reference/html")
