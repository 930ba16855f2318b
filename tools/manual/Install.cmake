# The program with its man page and completions, for `cmake --install BUILD --component tools`; a host's
# developer does without them.

set(files)
function(ksbrain_prints file)
    set(path ${PROJECT_BINARY_DIR}/${file})
    get_filename_component(folder ${path} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${path}
        COMMAND ksbrain_program ${ARGN} > ${path}
        DEPENDS ksbrain_program VERBATIM)
    set(files ${files} ${path} PARENT_SCOPE)
endfunction()
ksbrain_prints(ksbrain.1 manual)
ksbrain_prints(completion/bash/ksbrain completion bash)
ksbrain_prints(completion/zsh/_ksbrain completion zsh)
ksbrain_prints(completion/fish/ksbrain.fish completion fish)
add_custom_target(ksbrain_manual DEPENDS ${files})

set(component COMPONENT tools EXCLUDE_FROM_ALL)
set_target_properties(ksbrain_program PROPERTIES
    INSTALL_RPATH "\$ORIGIN/../${CMAKE_INSTALL_LIBDIR};${log_folder}")
install(TARGETS ksbrain_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} ${component})
install(TARGETS ${libraries} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ${component})
install(FILES ${PROJECT_BINARY_DIR}/ksbrain.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 ${component})
install(FILES ${PROJECT_BINARY_DIR}/completion/bash/ksbrain
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${component})
install(FILES ${PROJECT_BINARY_DIR}/completion/zsh/_ksbrain
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions ${component})
install(FILES ${PROJECT_BINARY_DIR}/completion/fish/ksbrain.fish
        DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d ${component})
