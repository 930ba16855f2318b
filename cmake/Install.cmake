# What a host needs, for `cmake --install`: the public headers, the libraries, a CMake package and a
# pkg-config file. All of it may be moved as one folder.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KSBRAIN_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/ksbrain)
set(KSBRAIN_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/ksbrain)
set(KSBRAIN_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(FILES engine/brain/BrainMainApi.h DESTINATION ${KSBRAIN_INCLUDEDIR}/brain)
install(FILES engine/base/BrainEvent.h engine/base/RefBase.h DESTINATION ${KSBRAIN_INCLUDEDIR}/base)

set(libraries ksbrain zml)
if(NOT KSBRAIN_ENGINE_ONLY)
    # A workstation's libraries find each other in their own folder and the log in its own. The phone
    # has libcutils.so and wants no run path.
    list(APPEND libraries cutils)
    set(log_folder ${ANDROID_LIBRARY_DIR})
    if(CMAKE_SYSROOT)
        string(REPLACE "${CMAKE_SYSROOT}" "" log_folder "${log_folder}")
    endif()
    ksbrain_run_path(ksbrain "\$ORIGIN;${log_folder}")
    ksbrain_run_path(zml "\$ORIGIN;${log_folder}")
endif()
install(TARGETS ${libraries} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

configure_package_config_file(
    cmake/ksbrainConfig.cmake.in ${PROJECT_BINARY_DIR}/ksbrainConfig.cmake
    INSTALL_DESTINATION ${KSBRAIN_CMAKEDIR}
    PATH_VARS CMAKE_INSTALL_LIBDIR KSBRAIN_INCLUDEDIR)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/ksbrainConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ksbrainConfig.cmake ${PROJECT_BINARY_DIR}/ksbrainConfigVersion.cmake
        DESTINATION ${KSBRAIN_CMAKEDIR})

# The way from the pkg-config file up to the prefix.
file(RELATIVE_PATH KSBRAIN_PREFIX_FROM_PC /prefix/${KSBRAIN_PKGCONFIGDIR} /prefix)
string(REGEX REPLACE "/$" "" KSBRAIN_PREFIX_FROM_PC ${KSBRAIN_PREFIX_FROM_PC})
configure_file(cmake/ksbrain.pc.in ksbrain.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ksbrain.pc DESTINATION ${KSBRAIN_PKGCONFIGDIR})
