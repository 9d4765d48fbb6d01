# SPDX-License-Identifier: GPL-3.0-or-later
# The frame of ./test: numbered steps with a log and a time each, and the count at the end.

logs=$PWD/build/test-logs
planned=0
begun=0
passed=0
failed=0
times=()
# Where the running step's tests leave their results.
results=

plan() {
    planned=$1
    rm -rf "$logs"
    mkdir -p "$logs" || exit 1
}

# step NAME TITLE COMMAND...: runs the command with its output in a log, shows the end of it when it fails.
step() {
    local name=$1 title=$2 start=$SECONDS status=0 before=$failed
    results=$logs/$name.xml
    shift 2
    begun=$((begun + 1))
    printf '[%2d/%d] %s\n' "$begun" "$planned" "$title"
    "$@" >"$logs/$name.log" 2>&1 || status=$?
    times+=("$(printf '%6d s  %s' $((SECONDS - start)) "$title")")
    count_results
    [[ $status != 0 ]] || return 0
    # A step that failed without a test of its own that failed counts as one.
    [[ $failed != "$before" ]] || failed=$((failed + 1))
    printf '        FAILED (status %d). From %s.log:\n' "$status" "${logs#"$PWD/"}/$name"
    excerpt "$logs/$name.log" | sed 's/^/        | /'
    return 1
}

# What compilers, tests and sanitizers complain of, and the end.
excerpt() {
    grep -n -A 4 -E 'error:|: Failure$|^\[  FAILED  \]|ERROR: |WARNING: ThreadSanitizer|SUMMARY: |\*\*\*' "$1" | head -n 100
    printf '[...]\n'
    tail -n 30 "$1"
}

# Adds what ctest wrote about a step's tests.
count_results() {
    [[ -f $results ]] || return 0
    local all bad
    all=$(grep -c '<testcase ' "$results")
    bad=$(grep -c -E '<testcase .* status="(fail|disabled|notrun)"' "$results")
    passed=$((passed + all - bad))
    failed=$((failed + bad))
    printf '        %d passed, %d failed\n' $((all - bad)) "$bad"
}

finish() {
    printf '\nTime of each step:\n'
    printf '%s\n' "${times[@]}"
    printf '%6d s  in all\n\n' "$SECONDS"
    [[ $begun == "$planned" ]] || printf '%d of %d steps did not run.\n' $((planned - begun)) "$planned"
    printf '%d passed, %d failed\n' "$passed" "$failed"
    [[ $failed == 0 && $begun == "$planned" ]]
    exit
}
