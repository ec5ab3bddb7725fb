# optera_library(<name> SOURCES ... [DEPENDS ...] [PRIVATE_DEPENDS ...])
# One static library per folder under src/, named optera_<name>. Headers are included as
# "<folder>/<file>.h", and a target sees only the headers of its own folder and of the libraries
# it links: each library publishes a tree of its own headers (links to the files of its folder,
# not of the folders below it), so that including a header of a library one does not link does
# not compile. DEPENDS are the layers below that the library's headers use (passed on to whoever
# links it); PRIVATE_DEPENDS are used by its sources alone, as a platform backend is by the
# composition root, and reach nobody above.
function(optera_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS;PRIVATE_DEPENDS" ${ARGN})
    add_library(optera_${name} STATIC ${ARG_SOURCES})
    file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
    set(tree ${CMAKE_BINARY_DIR}/include/optera_${name})
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    file(REMOVE_RECURSE ${tree})
    file(MAKE_DIRECTORY ${tree}/${folder})
    foreach(header ${headers})
        get_filename_component(file ${header} NAME)
        file(CREATE_LINK ${header} ${tree}/${folder}/${file} SYMBOLIC)
    endforeach()
    target_include_directories(optera_${name} PUBLIC ${tree})
    target_link_libraries(optera_${name} PUBLIC ${ARG_DEPENDS} PRIVATE ${ARG_PRIVATE_DEPENDS})
endfunction()

# optera_test(<name> SOURCES ... DEPENDS ...)
# One GoogleTest program per library; each test case becomes a ctest entry.
function(optera_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
    add_executable(test_${name} ${ARG_SOURCES})
    target_link_libraries(test_${name} PRIVATE ${ARG_DEPENDS} optera_testsupport GTest::gtest_main)
    gtest_discover_tests(test_${name} DISCOVERY_TIMEOUT 60)
endfunction()
