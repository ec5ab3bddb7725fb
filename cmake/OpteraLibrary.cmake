# optera_library(<name> SOURCES ... DEPENDS ...)
# One static library per folder under src/. Targets are named optera_<name>; a folder may only
# link the layers below it, which DEPENDS lists. Headers are included as "<folder>/<file>.h".
function(optera_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_library(optera_${name} STATIC ${ARG_SOURCES})
    target_include_directories(optera_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(optera_${name} PUBLIC ${ARG_DEPENDS})
endfunction()

# optera_test(<name> SOURCES ... DEPENDS ...)
# One GoogleTest program per library; each test case becomes a ctest entry.
function(optera_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(test_${name} ${ARG_SOURCES})
    target_link_libraries(test_${name} PRIVATE ${ARG_DEPENDS} optera_testsupport GTest::gtest_main)
    gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60)
endfunction()
