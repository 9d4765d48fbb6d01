# SPDX-License-Identifier: GPL-3.0-or-later
# Configuring and building. Sourced by ./run and ./test, which share build/release and never undo each other's work.

say() { printf '%s\n' "$*" >&2; }

# Whether a build folder is set up as the presets are now; ninja sees to changes in the CMake files itself.
is_configured() { [[ -f $1/build.ninja && ! CMakePresets.json -nt $1/CMakeCache.txt ]]; }

# A build folder that was copied or moved along with the source is of no use: CMake refuses it.
forget_if_moved() {
    local home
    [[ -f $1/CMakeCache.txt ]] || return 0
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$1/CMakeCache.txt")
    [[ $home -ef . ]] || rm -rf "$1"
}

# For who only wants the player. A folder that ./test has set up with the tests serves as well as one without.
configure_player() {
    forget_if_moved build/release
    is_configured build/release && return
    say "Configuring build/release"
    local tests=()
    [[ -f build/release/build.ninja ]] || tests=(-DZELVANE_TESTS=OFF)
    cmake --preset release "${tests[@]}" >build/configure.log 2>&1 || { cat build/configure.log >&2; return 1; }
}

# build PRESET [NINJA'S OPTION OR TARGET...]; one at a time, whoever else is at it.
build() {
    local folder=build/$1 wait=()
    shift
    ! command -v flock >/dev/null || wait=(flock "$folder")
    "${wait[@]}" ninja -C "$folder" -j "$(nproc)" "$@"
}
