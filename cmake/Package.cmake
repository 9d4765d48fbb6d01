# SPDX-License-Identifier: GPL-3.0-or-later
# Packages for Debian, made by cpack: the player, which needs no Qt, and what it has on a desktop.
set(debian ${CMAKE_CURRENT_LIST_DIR}/Debian)
file(STRINGS ${debian}/changelog newest LIMIT_COUNT 1)
if(NOT newest MATCHES "^zelvane \\(${PROJECT_VERSION}\\)")
    message(FATAL_ERROR "cmake/Debian/changelog says nothing of version ${PROJECT_VERSION}.")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelvane)
set(CPACK_PACKAGE_VENDOR Zelvane)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL player desktop)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
# What only packages have: compressed manuals, change log, copyright, and less in the programs.
set(CPACK_PRE_BUILD_SCRIPTS ${debian}/BeforePacking.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${debian}/AfterPacking.cmake)
set(CPACK_ZELVANE_DEBIAN ${debian})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# Who makes a package answers for it, named as Debian's own tools are told.
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Zelvane maintainers <maintainers@zelvane.example>")
if(DEFINED ENV{DEBEMAIL} AND DEFINED ENV{DEBFULLNAME})
    set(CPACK_DEBIAN_PACKAGE_MAINTAINER "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()

# The libraries that are loaded at run time, which dpkg-shlibdeps can't see; packages have the version that the file has.
foreach(library avformat avcodec avutil swresample)
    string(REGEX MATCH "^[0-9]+" major "${libav_lib${library}_VERSION}")
    set(${library} lib${library}${major})
endforeach()
string(REPLACE libavcodec libavcodec-extra avcodec_extra ${avcodec})

set(CPACK_DEBIAN_PLAYER_PACKAGE_NAME zelvane)
set(CPACK_DEBIAN_PLAYER_PACKAGE_RECOMMENDS "timgm6mb-soundfont | fluid-soundfont-gm, libjack-jackd2-0 | libjack-0.125,\
 ${avformat}, ${avcodec} | ${avcodec_extra}, ${avutil}, ${swresample}")
set(CPACK_DEBIAN_PLAYER_PACKAGE_SUGGESTS "zelvane-desktop, pipewire-jack | jackd2, liblo-tools")
set(CPACK_DEBIAN_PLAYER_DESCRIPTION "player of microtones for OSC and MIDI
Zelvane plays notes between the keys, at a resolution of a tenth of a
semitone. Other programs on the same machine send it notes over OSC, one by
one or as a stream that it times itself. Keyboards and programs play it over
MIDI, retuned through Scala files. It plays a SoundFont or an LV2 instrument
through JACK, PipeWire or PulseAudio, and records without loss.
.
This package has the player, which runs as a service without a desktop.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME zelvane-desktop)
set(CPACK_COMPONENT_DESKTOP_DEPENDS player)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "dbus-user-session | dbus-session-bus, xdg-utils")
set(CPACK_DEBIAN_DESKTOP_DESCRIPTION "player of microtones for OSC and MIDI - desktop
Zelvane plays notes between the keys, at a resolution of a tenth of a
semitone, that other programs send it over OSC or MIDI.
.
This package has what the player shows on a desktop: its icon in the tray,
menu, preferences, editors of instruments, and help.")

include(CPack)
