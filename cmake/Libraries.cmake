# SPDX-License-Identifier: GPL-3.0-or-later
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(plist REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(json REQUIRED IMPORTED_TARGET nlohmann_json)
pkg_check_modules(fluidsynth REQUIRED IMPORTED_TARGET fluidsynth>=2.3)
# What the libraries that FluidSynth is made with want defined is not for those who use its header, and precompiled headers
# have to be compiled like the files that use them.
set_property(TARGET PkgConfig::fluidsynth PROPERTY INTERFACE_COMPILE_OPTIONS)
pkg_check_modules(pulse REQUIRED IMPORTED_TARGET libpulse)
# Of libjack only the headers: the library itself is chosen and loaded when the program runs.
pkg_check_modules(jack REQUIRED jack)
pkg_check_modules(alsa REQUIRED IMPORTED_TARGET alsa)
# Of libav only the headers: the libraries are loaded when something is first recorded.
pkg_check_modules(libav REQUIRED libavformat>=59 libavcodec>=59 libavutil>=57 libswresample>=4)
pkg_check_modules(lilv REQUIRED IMPORTED_TARGET lilv-0>=0.24)
pkg_check_modules(lv2 REQUIRED IMPORTED_TARGET lv2)
# The desktop's part alone; the player runs without it.
find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets DBus Svg)
pkg_check_modules(xcb REQUIRED IMPORTED_TARGET xcb)
