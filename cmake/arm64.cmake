# Cross-builds for 64-bit Arm Linux with the machine's Clang, against the root that arm64-sysroot.sh
# has made in the build folder, and runs what was built under emulation.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER clang)  # GoogleTest's project asks for one
set(CMAKE_C_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT -stdlib=libc++)
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)

# Trial builds have folders of their own below the build.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_SYSROOT)
if(NOT CMAKE_SYSROOT)
    set(CMAKE_SYSROOT ${CMAKE_BINARY_DIR}/sysroot)
endif()
get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_SYSROOT}/../emulate ABSOLUTE)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
