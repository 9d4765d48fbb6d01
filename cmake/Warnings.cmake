# SPDX-License-Identifier: GPL-3.0-or-later
add_library(zelvane_warnings INTERFACE)
target_compile_options(zelvane_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-qual -Wformat=2
    -Wnon-virtual-dtor -Woverloaded-virtual -Wundef -Wunused -Wextra-semi
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op -Wsuggest-override>
    $<$<CXX_COMPILER_ID:Clang>:-Winconsistent-missing-override -Wthread-safety>)
