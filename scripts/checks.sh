# SPDX-License-Identifier: GPL-3.0-or-later
# The steps of ./test.

source_files() { find . \( -path ./build -o -path './.*' \) -prune -o \( -name '*.cpp' -o -name '*.h' \) -print0; }

check_layout() {
    local files
    files=$(source_files | xargs -0 clang-format-14 --dry-run -Werror 2>&1) && return
    echo "Not as clang-format 14 would write them (clang-format-14 -i FILE does):"
    sed -n 's/^\([^: ]*\):[0-9]*:[0-9]*: error:.*/\1/p' <<<"$files" | sort -u
    return 1
}

# configure_and_build PRESET [TARGET...]
configure_and_build() {
    local preset=$1 built=build/$1/.built
    rm -f "$built"
    forget_if_moved "build/$preset"
    cmake --preset "$preset" -DZELVANE_TESTS=ON && build "$@" && touch "$built"
}

# run_tests PRESET [OPTION OF CTEST...]; never what an older build left.
run_tests() {
    local preset=$1
    shift
    [[ -f build/$preset/.built ]] || { echo "Not run, because the build failed."; return 1; }
    keep_from_user
    fixed_addresses ctest --preset "$preset" --parallel 2 --no-tests=error --output-junit "$results" "$@"
}

# The windows as they are now.
take_screenshots() {
    keep_from_user
    mkdir -p Documentation/screenshots
    rm -f Documentation/screenshots/*.png
    "$1/bin/zelvane_screenshots" Documentation/screenshots
}

# Tests make their own servers and files; whatever slips through shall not meet the user's.
keep_from_user() {
    export XDG_CONFIG_HOME=$PWD/build/test-home/config XDG_DATA_HOME=$PWD/build/test-home/data
    export XDG_CACHE_HOME=$PWD/build/test-home/cache JACK_NO_START_SERVER=1
    # Where Debian keeps llvm-symbolizer, by which the sanitizers name functions.
    export PATH=$PATH:/usr/lib/llvm-14/bin
    rm -rf build/test-home
    mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
}

# Newer kernels spread a program's memory wider than the sanitizers of clang 14 can map.
fixed_addresses() {
    if setarch "$(uname -m)" -R true 2>/dev/null; then
        setarch "$(uname -m)" -R "$@"
    else
        "$@"
    fi
}

# Only files that changed, or whose headers did, since they last passed.
check_tidy() {
    local folder=build/asan-ubsan
    [[ -f $folder/.built ]] || { echo "Not run, because the build failed."; return 1; }
    # A source may be built into several targets.
    files_to_tidy "$folder" | sort -zu | xargs -0 -r -n 1 -P "$(nproc)" scripts/tidy.sh "$folder"
}

# Sources of the build that are newer than their mark, or include what is.
files_to_tidy() {
    local files file mark
    includes_of_sources "$1" | while IFS=$'\t' read -r -a files; do
        [[ -f ${files[0]} ]] || continue
        mark=build/tidy/${files[0]#"$PWD/"}
        for file in "${files[@]}" .clang-tidy; do
            [[ $file -nt $mark ]] && printf '%s\0' "${files[0]}" && break
        done
    done
}

# A line for each source, followed by those of our headers it includes: what the compiler told ninja.
includes_of_sources() {
    ninja -C "$1" -t deps |
        awk -v ours="    $PWD/" -v made="    $PWD/build/" '/^$/ { if (line != "") print line; line = "" }
            index($0, ours) == 1 && index($0, made) != 1 { line = line (line == "" ? "" : "\t") substr($0, 5) }'
}
