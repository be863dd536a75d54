# make install: the daemon and the client in bin/, the service's libraries in their own folder
# lib/ipcontrol/ (found through RUNPATH), resources in share/ipcontrol/, man pages, the bash
# completion, the systemd unit and an all-commented configuration file.
include(GNUInstallDirs)

set(IPC_INSTALL_LIBDIR lib/ipcontrol)
set_target_properties(ipcontrold ipcontrol PROPERTIES INSTALL_RPATH "$ORIGIN/../${IPC_INSTALL_LIBDIR}")
set_target_properties(ipcontrol-platform ipcontrol-tv ipcontrol-http-server ipcontrol-plugin
                      PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS ipcontrold ipcontrol RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(PROGRAMS tools/lab/ipcontrol-lab.py DESTINATION ${CMAKE_INSTALL_BINDIR} RENAME ipcontrol-lab)
install(TARGETS ipcontrol-platform ipcontrol-tv ipcontrol-http-server ipcontrol-plugin
        LIBRARY DESTINATION ${IPC_INSTALL_LIBDIR})
install(DIRECTORY ${IPC_RESOURCE_DIR}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/ipcontrol)
install(FILES docs/man/ipcontrold.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES docs/man/ipcontrol.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/ipcontrol/ipcontrol.bash-completion
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ipcontrol)
install(FILES host/ipcontrold.conf DESTINATION ${CMAKE_INSTALL_SYSCONFDIR}/ipcontrol)

configure_file(host/ipcontrold.service.in ${CMAKE_BINARY_DIR}/ipcontrold.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ipcontrold.service DESTINATION lib/systemd/system)
configure_file(host/ipcontrold@.service.in ${CMAKE_BINARY_DIR}/ipcontrold@.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ipcontrold@.service DESTINATION lib/systemd/system)
