# How tests are built. No test is part of the default build: the target `tests` builds them all, and
# `engine_tests` those of the engine.

include(GoogleTest)
enable_testing()

# GoogleTest, from its sources, since it must be built with libc++.
find_path(GOOGLETEST_SOURCE_DIR googletest/CMakeLists.txt PATHS /usr/src/googletest REQUIRED)
set(INSTALL_GTEST OFF)
add_subdirectory(${GOOGLETEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

add_custom_target(tests)
add_custom_target(engine_tests)
add_dependencies(tests engine_tests)

# In seconds. An emulator is some thirty times slower.
set(KSBRAIN_TEST_TIMEOUT 300)
if(CMAKE_CROSSCOMPILING)
    set(KSBRAIN_TEST_TIMEOUT 1200)
endif()

# GoogleTest's headers are compiled once for all test programs.
file(WRITE ${CMAKE_BINARY_DIR}/gtest_headers.cpp "")
add_library(gtest_headers STATIC EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/gtest_headers.cpp)
target_compile_options(gtest_headers PRIVATE ${KSBRAIN_WARNINGS} -fno-rtti)
target_link_libraries(gtest_headers PUBLIC GTest::gmock GTest::gtest_main)
target_precompile_headers(gtest_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)

# ksbrain_test(NAME SOURCES... LIBS LIBRARIES...): a GoogleTest program whose tests ctest runs each in
# a process of its own. Tests derive from the engine's classes and so do without RTTI as well.
function(ksbrain_test name)
    cmake_parse_arguments(TEST "" "" "LIBS" ${ARGN})
    add_executable(${name} EXCLUDE_FROM_ALL ${TEST_UNPARSED_ARGUMENTS})
    target_compile_options(${name} PRIVATE ${KSBRAIN_WARNINGS} -fno-rtti)
    target_link_libraries(${name} PRIVATE ${TEST_LIBS} log_capture test_support gtest_headers)
    target_precompile_headers(${name} REUSE_FROM gtest_headers)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT ${KSBRAIN_TEST_TIMEOUT})
    ksbrain_built_for_tests(${name})
endfunction()

# ksbrain_built_for_tests(TARGET): builds a program that tests run together with the tests.
function(ksbrain_built_for_tests target)
    if(CMAKE_CURRENT_SOURCE_DIR MATCHES "^${PROJECT_SOURCE_DIR}/engine/")
        add_dependencies(engine_tests ${target})
    else()
        add_dependencies(tests ${target})
    endif()
endfunction()
