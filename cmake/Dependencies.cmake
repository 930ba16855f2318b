# What lies outside the tree, all of it from Debian's packages (see cmake/setup.sh).

include(GoogleTest)
find_package(Threads REQUIRED)

# The platform's log and its headers.
find_path(ANDROID_INCLUDE_DIR android/log.h PATH_SUFFIXES android REQUIRED)
find_library(ANDROID_LOG_LIBRARY log PATH_SUFFIXES android REQUIRED)
get_filename_component(ANDROID_LIBRARY_DIR ${ANDROID_LOG_LIBRARY} DIRECTORY)
add_library(android_log INTERFACE)
target_include_directories(android_log SYSTEM INTERFACE ${ANDROID_INCLUDE_DIR})
target_link_libraries(android_log INTERFACE ${ANDROID_LOG_LIBRARY})

# GoogleTest, from its sources, since it must be built with libc++.
find_path(GOOGLETEST_SOURCE_DIR googletest/CMakeLists.txt PATHS /usr/src/googletest REQUIRED)
set(INSTALL_GTEST OFF)
add_subdirectory(${GOOGLETEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
