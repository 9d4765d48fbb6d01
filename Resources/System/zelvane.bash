# SPDX-License-Identifier: GPL-3.0-or-later
# What bash completes behind "zelvane". The program itself knows its options and devices.

_zelvane_settings=(port outPort outputDevice musicDevice keymap tuning midi midiBackend autolaunch)
_zelvane_addresses=(/om/note /om/ctl /om/pgm /om/keymap /om/tuning
    /vesk.µq/fifos /vesk.µq/start /vesk.µq/pause /vesk.µq/continue /vesk.µq/reset)

# _zelvane_read_words LINE: its words as the shell will see them, the last as far as it is typed, and the quote it stands in.
# Unlike the shell's own list these are not split at colons and equals signs, which names have.
_zelvane_read_words() {
    local line=$1 place character
    words=('') quote=
    for ((place = 0; place < ${#line}; place++)); do
        character=${line:place:1}
        if [[ $quote && $character == "$quote" ]]; then quote=
        elif [[ $quote ]]; then words[-1]+=$character
        elif [[ $character == [\'\"] ]]; then quote=$character
        elif [[ $character == '\' ]]; then words[-1]+=${line:$((++place)):1}
        elif [[ $character != [[:blank:]] ]]; then words[-1]+=$character
        elif [[ ${words[-1]} ]]; then words+=('')
        fi
    done
}

# What of the word at hand bash leaves as it is: it only replaces what follows the last of its own breaks.
_zelvane_kept() {
    local whole=$prefix$typed breaks= rest
    [[ -z $quote ]] || return
    [[ $COMP_WORDBREAKS != *=* ]] || breaks+='='
    [[ $COMP_WORDBREAKS != *:* ]] || breaks+=':'
    [[ $breaks ]] || return
    rest=${whole##*[$breaks]}
    printf %s "${whole%"$rest"}"
}

# _zelvane_offer WORD...: those that begin as typed.
_zelvane_offer() {
    local kept word
    kept=$(_zelvane_kept)
    for word; do
        [[ $word == "$typed"* ]] || continue
        word=$prefix$word
        word=${word#"$kept"}
        [[ $quote ]] || word=$(printf %q "$word")
        COMPREPLY+=("$word")
    done
}

# _zelvane_offer_lines OPTION: what the program prints then; nothing while it tries new instruments, which takes long.
_zelvane_offer_lines() {
    local lines
    mapfile -t lines < <(timeout 5 "$program" "$1" 2>/dev/null </dev/null | cut -f 1)
    _zelvane_offer "${lines[@]}"
}

# _zelvane_offer_files PATTERN: folders, and files whose names match. Bash itself guards their blanks.
_zelvane_offer_files() {
    local kept file
    kept=$(_zelvane_kept)
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        [[ ! -d ${file/#\~/$HOME} && ! $file =~ $1 ]] && continue
        file=$prefix$file
        COMPREPLY+=("${file#"$kept"}")
    done < <(compgen -f -- "$typed")
}

_zelvane_offer_settings() {
    compopt -o nospace 2>/dev/null
    _zelvane_offer "${_zelvane_settings[@]/%/=}"
}

_zelvane_offer_values() {
    case $1 in
        --device | outputDevice) _zelvane_offer_lines --list-devices ;;
        --midi | midi) _zelvane_offer_lines --list-midi ;;
        musicDevice) _zelvane_offer_lines --list-instruments ;;
        midiBackend) _zelvane_offer alsa jack none ;;
        autolaunch) _zelvane_offer 0 1 ;;
        keymap) _zelvane_offer_files '\.kbm$' ;;
        tuning) _zelvane_offer_files '\.scl$' ;;
        --check) _zelvane_offer_files '\.(scl|kbm)$' ;;
        --record) _zelvane_offer_files '\.m4a$' ;;
    esac
}

_zelvane_offer_options() {
    local options
    mapfile -t options < <("$program" --help 2>/dev/null </dev/null | grep -o -e '--[a-z][a-z-]*' | sort -u)
    _zelvane_offer "${options[@]}"
}

# _zelvane_leave_behind KEY: what is before and with the equals sign of the word at hand is no longer asked for.
_zelvane_leave_behind() {
    prefix+=$1=
    typed=${typed#"$1="}
}

_zelvane() {
    local words quote program typed prefix= option place
    _zelvane_read_words "${COMP_LINE:0:COMP_POINT}"
    program=${words[0]/#\~/$HOME} typed=${words[-1]} COMPREPLY=()
    # These two take all that follows.
    for ((place = 1; place < ${#words[@]} - 1; place++)); do
        case ${words[place]} in
            --check) _zelvane_offer_values --check; return ;;
            --send) ((place < ${#words[@]} - 2)) || _zelvane_offer "${_zelvane_addresses[@]}"; return ;;
        esac
    done
    option=${words[-2]}
    if [[ $typed == --*=* ]]; then
        option=${typed%%=*}
        _zelvane_leave_behind "$option"
    fi
    case $option in
        --set)
            [[ $typed == *=* ]] || { _zelvane_offer_settings; return; }
            option=${typed%%=*}
            _zelvane_leave_behind "$option"
            _zelvane_offer_values "$option"
            ;;
        --device | --midi | --record) _zelvane_offer_values "$option" ;;
        *) _zelvane_offer_options ;;
    esac
}

complete -F _zelvane zelvane
