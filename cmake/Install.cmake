# SPDX-License-Identifier: GPL-3.0-or-later
# What is installed, and where. Two parts, so that a machine without a desktop needs nothing of it: "player" and "desktop".
include(GNUInstallDirs)
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
    WORLD_READ WORLD_EXECUTE)

# The program finds its own files from where it stands itself, so these folders have fixed names beside its own.
set(ours share/Zelvane)
set(system ${PROJECT_SOURCE_DIR}/Resources/System)
# In all names by which desktops know the program.
file(STRINGS ${PROJECT_SOURCE_DIR}/Platform/Foundation/ApplicationID.h id REGEX kApplicationID)
string(REGEX REPLACE ".*\"(.*)\".*" "\\1" APPLICATION_ID "${id}")

install(TARGETS zelvane RUNTIME DESTINATION bin COMPONENT player)
install(TARGETS zelvane-lv2-scan RUNTIME DESTINATION libexec/zelvane COMPONENT player)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Resources/PropertyLists DESTINATION ${ours} COMPONENT player
    FILES_MATCHING PATTERN *.plist)
install(DIRECTORY ${PROJECT_BINARY_DIR}/share/locale DESTINATION share COMPONENT player FILES_MATCHING PATTERN zelvane.mo)
configure_file(${system}/zelvane.1 ${PROJECT_BINARY_DIR}/zelvane.1 @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelvane.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT player)
install(FILES ${system}/zelvane.bash RENAME zelvane DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    COMPONENT player)
install(FILES ${system}/zelvane.service DESTINATION lib/systemd/user COMPONENT player)
install(FILES ${PROJECT_SOURCE_DIR}/Documentation/osc-reference.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zelvane
    COMPONENT player)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Documentation/examples DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zelvane
    COMPONENT player)

install(TARGETS zelvane-desktop LIBRARY DESTINATION lib/zelvane COMPONENT desktop)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/Resources/Help DESTINATION ${ours} COMPONENT desktop)
install(FILES ${system}/${APPLICATION_ID}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT desktop)
install(FILES ${system}/${APPLICATION_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT desktop)
install(FILES ${system}/zelvane.svg DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT desktop)
