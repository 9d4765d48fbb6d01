# SPDX-License-Identifier: GPL-3.0-or-later
# What Zelvane needs from the system, and how it gets there. Sourced by ./run and ./test.

# One line for each: what it is needed for, the Debian package, how to see that it is there, and why.
# cmd:NAME is a program, pc:NAME a library that pkg-config knows, file:PATTERN a file, or one of several (with commas).
# The virtual machine's own kernel and shell, linux-image-amd64 and busybox-static, are only unpacked (scripts/machine.sh).
zelvane_packages=$(cat <<'END'
build  cmake                cmd:cmake                            writes the build files
build  ninja-build          cmd:ninja                            runs the compilers
build  g++                  cmd:g++                              C++20 compiler (12 or newer)
build  pkg-config           cmd:pkg-config                       tells where libraries are
build  libfluidsynth-dev    pc:fluidsynth                        SoundFont instruments (FluidSynth 2.3)
build  libjack-jackd2-dev   pc:jack                              sound through JACK (headers; the library is loaded at run time)
build  libasound2-dev       pc:alsa                              MIDI devices and programs, through the kernel's sequencer
build  libpulse-dev         pc:libpulse                          sound through PulseAudio
build  liblilv-dev          pc:lilv-0                            LV2 instruments
build  lv2-dev              pc:lv2                               LV2 instruments (headers)
build  libplist-dev         pc:libplist-2.0                      the files that settings are kept in
build  nlohmann-json3-dev   pc:nlohmann_json                     the report of --status as JSON
build  libavformat-dev      pc:libavformat                       recordings: the file format (FFmpeg 5.1)
build  libavcodec-dev       pc:libavcodec                        recordings: Apple Lossless
build  libavutil-dev        pc:libavutil                         recordings: what these two work with
build  libswresample-dev    pc:libswresample                     recordings: conversion of sample rates
build  qt6-base-dev         file:/usr/lib/*/cmake/Qt6Widgets/Qt6WidgetsConfig.cmake,/usr/lib/cmake/Qt6Widgets/Qt6WidgetsConfig.cmake,/usr/lib64/cmake/Qt6Widgets/Qt6WidgetsConfig.cmake  status item, windows (Qt 6.4)
build  qt6-svg-dev          file:/usr/lib/*/cmake/Qt6Svg/Qt6SvgConfig.cmake,/usr/lib/cmake/Qt6Svg/Qt6SvgConfig.cmake,/usr/lib64/cmake/Qt6Svg/Qt6SvgConfig.cmake  images of the status item
build  libxcb1-dev          pc:xcb                               editors of LV2 instruments in windows of ours
build  gettext              cmd:msgfmt                           translations
run    timgm6mb-soundfont   file:/usr/share/sounds/sf2/*.sf2,/usr/share/soundfonts/*.sf2  the instrument: a General MIDI SoundFont

test   clang-14             cmd:clang++-14                       second compiler, sanitizers, fuzzing
test   libclang-rt-14-dev   file:/usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a  their run-time libraries
test   llvm-14              cmd:llvm-symbolizer-14               names in what the sanitizers report
test   clang-format-14      cmd:clang-format-14                  checks the layout of the code
test   clang-tidy-14        cmd:clang-tidy-14                    looks for mistakes in the code
test   libgtest-dev         pc:gtest                             Google Test
test   libgmock-dev         pc:gmock                             Google Mock
test   jackd2               cmd:jackd                            a JACK server without hardware
test   pulseaudio           cmd:pulseaudio                       a PulseAudio server without hardware
test   pulseaudio-utils     cmd:pactl                            makes and removes its devices
test   pipewire             cmd:pipewire                         a PipeWire server without hardware
test   wireplumber          cmd:wireplumber                      connects what plays there
test   pipewire-jack        file:/usr/lib/*/pipewire-0.3/jack/libjack.so.0  its stand-in for JACK's library
test   libfftw3-dev         pc:fftw3                             measures pitches
test   locales              file:/usr/share/i18n/locales/de_DE   a locale whose numbers have commas
test   dbus                 cmd:dbus-run-session                 a session of its own for servers
test   ffmpeg               cmd:ffprobe                          a reader of recordings that is not ours
test   liblo-tools          cmd:oscsend                          a client that is not ours
test   python3              cmd:python3                          runs an example
test   mda-lv2              file:/usr/lib/lv2/mda.lv2/manifest.ttl   light instruments, one that bends and one that doesn't
test   calf-plugins         file:/usr/lib/lv2/calf.lv2/manifest.ttl  an instrument with state of its own
test   zynaddsubfx-lv2      file:/usr/lib/lv2/ZynAddSubFX.lv2/manifest.ttl  a heavy instrument
test   synthv1-lv2          file:/usr/lib/lv2/synthv1.lv2/manifest.ttl  an instrument with another bend range
test   lv2-examples         file:/usr/lib/lv2/eg-sampler.lv2/manifest.ttl  an instrument with writable properties
test   fonts-dejavu-core    file:/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf  letters in windows
test   xvfb                 cmd:Xvfb                             a display without a screen
test   openbox              cmd:openbox                          its window manager
test   trayer               cmd:trayer                           its tray of the old kind
test   xdotool              cmd:xdotool                          clicks and keys there
test   x11-utils            cmd:xwininfo                         looks at windows there

machine qemu-system-x86     cmd:qemu-system-x86_64               the virtual machine of ./test --machine
machine cpio                cmd:cpio                             packs its first files
machine kmod                file:/usr/sbin/modprobe,/sbin/modprobe  finds the kernel's modules
machine alsa-utils          cmd:aconnect                         clients of the sequencer that are not ours

package dpkg-dev            cmd:dpkg-shlibdeps                   finds the packages that libraries are in
package file                cmd:file                             finds what uses libraries
package lintian             cmd:lintian                          looks for mistakes in packages
package desktop-file-utils  cmd:desktop-file-validate            looks for mistakes in the desktop entry
package appstream           cmd:appstreamcli                     looks for mistakes in what software centres show
package man-db              cmd:man                              looks for mistakes in the manual
package debootstrap         file:/usr/sbin/debootstrap,/sbin/debootstrap  an empty Debian to try packages in
package ffmpeg              cmd:ffmpeg                           listens to what was recorded there

bench  liblo-dev            pc:liblo                             an OSC library to compare with
bench  fluidsynth           cmd:fluidsynth                       a program to compare with
bench  jalv                 cmd:jalv                             an LV2 host to compare with
bench  valgrind             cmd:valgrind                         counts instructions
END
)

# Prints "package check reason" of what the purposes given need and the system lacks.
missing_packages() {
    local installed purpose package check reason
    installed=" $(installed_packages) "
    while read -r purpose package check reason; do
        [[ -n $purpose && " $* " == *" $purpose "* ]] || continue
        [[ $installed == *" $package "* ]] || is_there "$check" || printf '%s %s %s\n' "$package" "$check" "$reason"
    done <<<"$zelvane_packages"
}

# The packages of the list that dpkg has installed, on one line; none where there is no dpkg.
installed_packages() {
    command -v dpkg-query >/dev/null || return 0
    # shellcheck disable=SC2046 # one word for each package
    dpkg-query -W -f '${db:Status-Status} ${binary:Package}\n' $(awk 'NF { print $2 }' <<<"$zelvane_packages") 2>/dev/null |
        awk '$1 == "installed" { sub(/:.*/, "", $2); printf "%s ", $2 }'
}

is_there() {
    case $1 in
        cmd:*) command -v "${1#cmd:}" >/dev/null ;;
        pc:*) command -v pkg-config >/dev/null && pkg-config --exists "${1#pc:}" ;;
        file:*) tr , '\n' <<<"${1#file:}" | while read -r pattern; do compgen -G "$pattern" && break; done | grep -q . ;;
    esac
}

# Installs what the purposes given need. Silent and quick when nothing is missing. Status 1, after saying what to do, when
# something stays missing that can't be done without.
install_packages() {
    local missing
    missing=$(missing_packages "$@")
    [[ -n $missing ]] || return 0
    if is_debian; then
        # shellcheck disable=SC2046
        apt_install $(awk '{ print $1 }' <<<"$missing") || true
    fi
    missing=$(missing_packages "$@")
    [[ -n $missing ]] || return 0
    say_what_is_missing "$missing"
    ! grep -qv ' file:/usr/share/sounds/' <<<"$missing"
}

is_debian() {
    local ID='' ID_LIKE=''
    [[ -r /etc/os-release ]] && . /etc/os-release
    [[ " $ID $ID_LIKE " == *" debian "* || " $ID $ID_LIKE " == *" ubuntu "* ]] &&
        command -v apt-get >/dev/null && command -v dpkg-query >/dev/null
}

# Never removes a package of the user's for one of ours.
apt_install() {
    say "Installing: $*"
    as_root apt-get -q update </dev/null >&2 || say "apt-get update failed; trying with the lists that are there."
    as_root apt-get -q -y --no-install-recommends --no-remove -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3 \
        install "$@" </dev/null >&2
}

as_root() {
    if [[ $(id -u) == 0 ]]; then
        env DEBIAN_FRONTEND=noninteractive "$@"
    elif command -v sudo >/dev/null; then
        sudo ${CI:+-n} env DEBIAN_FRONTEND=noninteractive "$@"
    else
        say "Needs root, and there is no sudo."
        return 1
    fi
}

say_what_is_missing() {
    local package check reason
    say "Missing, please install (names as in Debian 12; your system may call them otherwise):"
    while read -r package check reason; do
        check=${check/#cmd:/program } check=${check/#pc:/library } check=${check/#file:/}
        printf '    %-19s %-30s %s\n' "$package" "$check" "$reason" >&2
    done <<<"$1"
    if is_debian; then
        say "As root: apt-get install --no-install-recommends $(awk '{ printf "%s ", $1 }' <<<"$1")"
    fi
}
