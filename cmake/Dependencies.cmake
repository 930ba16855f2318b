# What lies outside the tree: on a workstation Debian's packages (see cmake/setup.sh), else the kit.

find_package(Threads REQUIRED)

# The platform's log and its headers.
add_library(android_log INTERFACE)
if(ANDROID)
    target_link_libraries(android_log INTERFACE log)
else()
    find_path(ANDROID_INCLUDE_DIR android/log.h PATH_SUFFIXES android REQUIRED)
    find_library(ANDROID_LOG_LIBRARY log PATH_SUFFIXES android REQUIRED)
    get_filename_component(ANDROID_LIBRARY_DIR ${ANDROID_LOG_LIBRARY} DIRECTORY)
    target_include_directories(android_log SYSTEM INTERFACE ${ANDROID_INCLUDE_DIR})
    target_link_libraries(android_log INTERFACE ${ANDROID_LOG_LIBRARY})
endif()
