# How tests are built. None is part of the default build: the target `tests` builds them all. A label says
# which are worth their time where, and has a target (`engine_tests`):
#     engine   the engine's own: under sanitizers and an emulator too
#     host     of the tools that share its threads or files: under sanitizers too
#     tools    all others

include(GoogleTest)
enable_testing()

# GoogleTest, from its sources, since it must be built with libc++.
find_path(GOOGLETEST_SOURCE_DIR googletest/CMakeLists.txt PATHS /usr/src/googletest REQUIRED)
set(INSTALL_GTEST OFF)
add_subdirectory(${GOOGLETEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)

add_custom_target(engine_tests)
add_custom_target(host_tests)
add_custom_target(tools_tests)
add_custom_target(tests DEPENDS engine_tests host_tests tools_tests)

# The label of the tests in this folder and below.
set(KSBRAIN_TEST_LABEL tools)

# In seconds. An emulator is some thirty times slower.
set(KSBRAIN_TEST_TIMEOUT 300)
if(CMAKE_CROSSCOMPILING)
    set(KSBRAIN_TEST_TIMEOUT 1200)
endif()

# Tests run for moments and are many: what is spent on them is spent on compiling. Fortified calls need an
# optimiser.
set(KSBRAIN_TEST_OPTIONS ${KSBRAIN_WARNINGS} -fno-rtti $<$<CONFIG:Release>:-O0> -U_FORTIFY_SOURCE)
foreach(library gtest gmock)
    target_compile_options(${library} PRIVATE $<$<CONFIG:Release>:-O0> -U_FORTIFY_SOURCE)
endforeach()

# GoogleTest's headers are compiled once for all test programs, and the one for JSON with them.
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/gtest_headers.cpp CONTENT "")
add_library(gtest_headers STATIC EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/gtest_headers.cpp)
target_compile_options(gtest_headers PRIVATE ${KSBRAIN_TEST_OPTIONS} -fPIE)  # as programs are
target_link_libraries(gtest_headers PUBLIC GTest::gmock GTest::gtest_main)
target_precompile_headers(gtest_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h> <nlohmann/json.hpp>)

# ksbrain_test(NAME SOURCES... LIBS LIBRARIES...): a GoogleTest program whose tests ctest runs each in
# a process of its own. Tests derive from the engine's classes and so do without RTTI as well.
function(ksbrain_test name)
    cmake_parse_arguments(TEST "" "" "LIBS" ${ARGN})
    add_executable(${name} EXCLUDE_FROM_ALL ${TEST_UNPARSED_ARGUMENTS})
    target_compile_options(${name} PRIVATE ${KSBRAIN_TEST_OPTIONS})
    target_link_libraries(${name} PRIVATE ${TEST_LIBS} log_capture test_support gtest_headers)
    target_precompile_headers(${name} REUSE_FROM gtest_headers)
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT ${KSBRAIN_TEST_TIMEOUT} LABELS ${KSBRAIN_TEST_LABEL})
    add_dependencies(${KSBRAIN_TEST_LABEL}_tests ${name})
endfunction()

# ksbrain_program_test(NAME COMMAND...): a test that is a command, of a program built here if its first
# word names one. Status 77 says that the machine does not let it run.
function(ksbrain_program_test name)
    add_test(NAME ${name} COMMAND ${ARGN})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${KSBRAIN_TEST_TIMEOUT} LABELS ${KSBRAIN_TEST_LABEL} SKIP_RETURN_CODE 77)
    if(TARGET ${ARGV1})
        add_dependencies(${KSBRAIN_TEST_LABEL}_tests ${ARGV1})
    endif()
endfunction()
