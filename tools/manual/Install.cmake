# The program with its man pages and completion, for `cmake --install BUILD --component tools`; a host's
# developer does without them.

set(program ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:ksbrain_program>)
set(pages ${PROJECT_BINARY_DIR}/man)
set(completion ${PROJECT_BINARY_DIR}/completion/ksbrain)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/completion)
add_custom_command(OUTPUT ${pages}/ksbrain.1
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/pages.sh ${pages} ${program}
    DEPENDS ksbrain_program ${CMAKE_CURRENT_LIST_DIR}/pages.sh VERBATIM)
add_custom_command(OUTPUT ${completion}
    COMMAND ksbrain_program completion bash > ${completion}
    DEPENDS ksbrain_program VERBATIM)
add_custom_target(ksbrain_manual DEPENDS ${pages}/ksbrain.1 ${completion})
if(KSBRAIN_TESTS)
    add_dependencies(tests ksbrain_manual)
endif()

set(component COMPONENT tools EXCLUDE_FROM_ALL)
ksbrain_run_path(ksbrain_program "\$ORIGIN;\$ORIGIN/../${CMAKE_INSTALL_LIBDIR};${log_folder}")
install(TARGETS ksbrain_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${component})
install(TARGETS ${libraries} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ${component})
install(DIRECTORY ${pages}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 ${component})
install(FILES ${completion}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${component})
