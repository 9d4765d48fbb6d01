#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# tidy.sh BUILD-FOLDER SOURCE: runs clang-tidy and leaves a mark, as old as the run's begin, when the source passes.
set -uo pipefail
mark=build/tidy/${2#"$PWD/"}
mkdir -p "$(dirname "$mark")"
touch "$mark.begun"
clang-tidy-14 --quiet -p "$1" "$2" 2>&1 | grep -v -E '^[0-9]+ warnings? generated\.$'
[[ ${PIPESTATUS[0]} == 0 ]] && mv "$mark.begun" "$mark"
