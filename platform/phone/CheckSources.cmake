# Fails unless Android.bp and the kit's preset build every source of the engine, and Android.bp all
# of its tests, and nothing that is not there.
#
# cmake -DSOURCE_DIR=tree -DWORK_DIR=folder -DCXX_COMPILER=clang++ -P CheckSources.cmake

cmake_minimum_required(VERSION 3.22)

file(REAL_PATH "${SOURCE_DIR}" SOURCE_DIR)  # the checkout may be reached through a symbolic link

# compare(PLACE IS SHOULD) notes what one of two lists has and the other has not.
set(problems "")
function(compare place is should)
    foreach(source IN LISTS ${should})
        if(NOT source IN_LIST ${is})
            string(APPEND problems "\n${place} lacks ${source}")
        endif()
    endforeach()
    foreach(source IN LISTS ${is})
        if(NOT source IN_LIST ${should})
            string(APPEND problems "\n${place} has ${source}, which is not there or does not belong there")
        endif()
    endforeach()
    set(problems "${problems}" PARENT_SCOPE)
endfunction()

set(folders base looper zml preload brain)
list(TRANSFORM folders REPLACE ".+" "${SOURCE_DIR}/engine/\\0/*.cpp" OUTPUT_VARIABLE patterns)
file(GLOB_RECURSE sources RELATIVE ${SOURCE_DIR} ${patterns})
list(FILTER sources EXCLUDE REGEX "_main\\.cpp$")
set(engine ${sources})
list(FILTER engine EXCLUDE REGEX "_test\\.cpp$|/test/")

# Android.bp: the engine and its tests, with what a workstation lacks.
set(blueprint_sources ${sources} platform/workstation/Properties.cpp platform/workstation/SettableEnvironment.cpp
    platform/testing/LogCapture.cpp platform/testing/TempDir.cpp)
file(READ ${SOURCE_DIR}/Android.bp blueprint)
string(REGEX REPLACE "//[^\n]*" "" blueprint "${blueprint}")
string(REGEX MATCHALL "\"[^\"\n]*\\.cpp\"" listed "${blueprint}")
list(TRANSFORM listed REPLACE "\"" "")
compare(Android.bp listed blueprint_sources)

# The preset as it is written, but for the kit, in whose place this machine's compiler stands.
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(
    COMMAND ${CMAKE_COMMAND} --preset kit -B ${WORK_DIR} -DCMAKE_TOOLCHAIN_FILE=
            -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    WORKING_DIRECTORY ${SOURCE_DIR} OUTPUT_QUIET ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the preset does not configure:\n${errors}")
endif()
file(READ ${WORK_DIR}/compile_commands.json commands)
string(JSON count LENGTH "${commands}")
math(EXPR last "${count} - 1")
set(compiled)
foreach(i RANGE ${last})
    string(JSON source GET "${commands}" ${i} file)
    file(REAL_PATH "${source}" source)
    file(RELATIVE_PATH source ${SOURCE_DIR} ${source})
    list(APPEND compiled ${source})
endforeach()
set(kit_sources ${engine} platform/phone/kit_cutils.cpp)
compare("the kit's build" compiled kit_sources)

if(problems)
    message(FATAL_ERROR "${problems}")
endif()
