#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# fuzz.sh PROGRAM SEEDS CORPUS: runs a fuzz target for ZELVANE_FUZZ_SECONDS (60 unless set), from its seeds and what earlier
# runs found. An input that breaks it is kept beside the corpus.
set -euo pipefail
program=$1 seeds=$2 corpus=$3
inputs=("$corpus")
[[ ! -d $seeds ]] || inputs+=("$seeds")
mkdir -p "$corpus"
exec "$program" -max_total_time="${ZELVANE_FUZZ_SECONDS:-60}" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$corpus-broken-by-" "${inputs[@]}"
