#!/bin/sh
# SPDX-License-Identifier: GPL-3.0-or-later
# Plays Zelvane from the shell: first a scale of quarter tones, note by note, then a stream that Zelvane times and asks for in
# chunks.
#
#     microtones.sh [PORT [OUTPORT]]      the player's `port` and `outPort`; 3000 and 3010 unless told
#
# Needs oscsend and oscdump, which are in Debian's package liblo-tools. With `zelvane --send` in the place of oscsend the scale
# is played without them.
set -eu
port=${1:-3000}
out_port=${2:-3010}

# ADDRESS TYPES ARGUMENTS...
send() {
    if command -v oscsend >/dev/null; then
        oscsend 127.0.0.1 "$port" "$@"
    else
        address=$1
        shift 2
        zelvane --set "port=$port" --send "$address" "$@"
    fi
}

play_scale() {
    midic=6000
    while [ "$midic" -le 7200 ]; do
        send /om/note iiii "$midic" 100 250 1 # midic, velocity, length in ms, channel
        midic=$((midic + 50))
        sleep 0.25
    done
    sleep 0.5
}

# Since the note before in ms, pitch in semitones, velocity; a line for each note.
notes_of_chunk() {
    awk -v seed="$1" 'BEGIN {
        srand(seed)
        for (note = 0; note < 16; ++note)
            print rand() < 0.33 ? 250 : 125, 60 + 24 * int(32 * rand()) / 31, 60 + int(50 * rand())
    }'
}

# Each note takes a moment to be sent, by which it comes later; a program that sends them in one bundle has no such gaps.
send_chunk() {
    notes_of_chunk "$1" | while read -r since pitch velocity; do
        send /vesk.µq/fifos ffiii "$since" "$pitch" "$velocity" 200 1
    done
    send /vesk.µq/start ''
}

wait_until_asked_for_more() {
    while read -r line <&3; do
        case $line in *'/vesk.mq/more'*) return ;; esac
    done
    echo "The player did not ask for more. Is it listening, and has it the same \`outPort\`?" >&2
    exit 1
}

play_stream() {
    folder=$(mktemp -d)
    mkfifo "$folder/asked"
    timeout 60 oscdump -L "$out_port" >"$folder/asked" &
    ear=$!
    trap 'kill "$ear" 2>/dev/null; rm -r "$folder"' EXIT
    exec 3<"$folder/asked"
    send /vesk.µq/reset ''
    for chunk in 1 2 3 4; do
        [ "$chunk" = 1 ] || wait_until_asked_for_more
        send_chunk "$chunk"
        echo "chunk $chunk of 4"
    done
    wait_until_asked_for_more # five notes are left: let them sound
    sleep 1.5
}

play_scale
command -v oscdump >/dev/null || exit 0
play_stream
