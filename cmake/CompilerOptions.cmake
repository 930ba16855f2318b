# How everything is compiled. KSBRAIN_SANITIZE takes a list for -fsanitize ("thread",
# "address,undefined").

if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ksbrain is built with Clang and libc++: configure with -DCMAKE_CXX_COMPILER=clang++")
endif()

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release)
endif()

# Everything is compiled with what suffices for it: the engine for speed (ksbrain_library, below), the
# rest for a short build, and debug information only where CMAKE_BUILD_TYPE asks for it.
set(CMAKE_CXX_FLAGS_RELEASE "-O1")
set(KSBRAIN_ENGINE_OPTIMIZATION "$<$<CONFIG:Release>:-O2>")

# libc++ everywhere: the event record is shared with the host in its layout. Scores are rounded after
# every operation, so that every machine gives the same bits.
add_compile_options(-stdlib=libc++ -ffp-contract=off)
add_link_options(-stdlib=libc++ -fuse-ld=lld -Wl,--as-needed)

# Hardened and small; docs/image.md has a table with the command that shows each property.
add_compile_options(-fstack-protector-strong -ffunction-sections -fdata-sections)
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack,-z,text -Wl,-z,max-page-size=16384
                 -Wl,--build-id=sha1 -Wl,--gc-sections)

set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)  # the build folder may be moved
if(KSBRAIN_ENGINE_ONLY)
    set(CMAKE_SKIP_BUILD_RPATH ON)  # nothing of this machine in a library for the phone
endif()

set(KSBRAIN_SANITIZE "" CACHE STRING "sanitizers to build with, as for -fsanitize")
set(KSBRAIN_FUZZ_SANITIZE "address,undefined" CACHE STRING "sanitizers for the fuzz targets; many more inputs are tried without any")
if(KSBRAIN_FUZZ)
    string(JOIN "," KSBRAIN_SANITIZE fuzzer-no-link ${KSBRAIN_FUZZ_SANITIZE})
endif()
if(KSBRAIN_SANITIZE)
    # What is built once and run for seconds is not optimised; what is fuzzed is run thousands of times.
    set(CMAKE_CXX_FLAGS_RELEASE "-O0 -gline-tables-only")
    if(KSBRAIN_FUZZ)
        set(CMAKE_CXX_FLAGS_RELEASE "-O1 -gline-tables-only")
    endif()
    set(KSBRAIN_ENGINE_OPTIMIZATION "-O1")
    add_compile_options(-fsanitize=${KSBRAIN_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${KSBRAIN_SANITIZE})
    if(KSBRAIN_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize=vptr,function)  # both need run-time type information
        add_link_options(-fno-sanitize=vptr,function)
    endif()
else()
    add_compile_options(-D_FORTIFY_SOURCE=2)  # sanitizers check the plain calls themselves
    add_link_options(-Wl,--no-undefined)  # a sanitizer's run-time lies in the program
endif()

# The order in which locks nest is checked where nobody counts the nanoseconds.
if(KSBRAIN_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    add_compile_definitions(KSBRAIN_LOCK_ORDER)
endif()

set(KSBRAIN_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wthread-safety -Werror)

# ksbrain_library(NAME SOURCES...): a static library of the engine's, without exceptions and run-time
# type information. Exceptions of others pass through it (base/ExceptionBarrier.h).
function(ksbrain_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/engine)
    target_compile_options(${name} PRIVATE
        ${KSBRAIN_WARNINGS} -fno-exceptions -fno-rtti -funwind-tables
        ${KSBRAIN_ENGINE_OPTIMIZATION})
endfunction()

# ksbrain_run_path(NAME FOLDERS): where what is installed looks for its libraries, and from the start: a
# path that installing has to lengthen is built with empty entries at its end, which the loader takes for
# the current directory.
function(ksbrain_run_path name folders)
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "${folders}" BUILD_WITH_INSTALL_RPATH ON)
endfunction()

# ksbrain_ship(NAME MAP): the properties of a shipped library. It exports what the version script MAP
# names and lies at the top of the build. It stays mapped once loaded, since a detached thread of its
# own may still be leaving when the library is closed.
function(ksbrain_ship name map)
    set(map ${CMAKE_CURRENT_SOURCE_DIR}/${map})
    target_link_options(${name} PRIVATE -Wl,--version-script=${map} -Wl,-z,nodelete)
    set_target_properties(${name} PROPERTIES
        LINKER_LANGUAGE CXX
        LINK_DEPENDS ${map}
        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()
