#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# translations.sh           brings the catalogues' template, and the catalogues, up to date with the code
# translations.sh --check   fails when the template is out of date, or when a catalogue lacks a text or has one that does
#                           not fit its original
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
export LC_ALL=C.UTF-8
folder=Resources/Translations

# What looks a text up, and what hands its own argument on to that: the function, and which argument it is.
keywords=(localizedString:1 localizedText:1 localized:1 item:2 makeButton:2 addBox:2 described:3 toggle:3 fileError:2 recordingError:2
    fail:2)

# The language is the one that knows placeholders like %@, each of which a translation has to have too.
texts_of_code() {
    local options=() keyword
    for keyword in "${keywords[@]}"; do options+=("--keyword=$keyword" "--flag=$keyword:objc-format"); done
    find Platform PYMIDI Sources Resources \( -name '*.cpp' -o -name '*.h' \) -print | sort |
        xgettext --files-from=- --language=ObjectiveC --from-code=UTF-8 --keyword "${options[@]}" --add-location=file -o -
}

texts_of_interfaces() {
    find Resources/Interfaces -name '*.ui' -print | sort |
        xgettext --files-from=- --its="$folder/interfaces.its" --from-code=UTF-8 --add-location=file -o -
}

# Without what changes from one run to the next.
template() {
    { texts_of_code >"$work/code.pot" && texts_of_interfaces >"$work/interfaces.pot"; } 2>"$work/complaints" ||
        { cat "$work/complaints" >&2; return 1; }
    msgcat --use-first --sort-by-file --width=120 --add-location=file "$work/code.pot" "$work/interfaces.pot" |
        sed -e '1,/^$/ { /^#/d; /^"POT-Creation-Date/d; /^"PO-Revision-Date/d; /^"Last-Translator/d; /^"Language-Team/d
                         s/PACKAGE VERSION/Zelvane/; s/charset=CHARSET/charset=UTF-8/ }' \
            -e '1i # SPDX-License-Identifier: GPL-3.0-or-later'
}

# The texts alone, whichever file they are in.
texts_of() {
    msgcat --no-location --sort-output --width=120 "$@" | sed '1,/^$/d'
}

update() {
    cp "$work/zelvane.pot" "$folder/zelvane.pot"
    for catalogue in "$folder"/*.po; do
        msgmerge --quiet --update --backup=none --no-fuzzy-matching --width=120 --add-location=file \
            "$catalogue" "$folder/zelvane.pot"
    done
}

check() {
    local status=0 catalogue missing
    diff <(texts_of "$folder/zelvane.pot") <(texts_of "$work/zelvane.pot") ||
        { echo "zelvane.pot is out of date: scripts/translations.sh mends that."; status=1; }
    for catalogue in "$folder"/*.po; do
        msgmerge --quiet --no-fuzzy-matching -o "$work/merged.po" "$catalogue" "$work/zelvane.pot"
        msgfmt --check-format --check-domain --check-accelerators='&' -o /dev/null "$work/merged.po" || status=1
        missing=$(msgattrib --untranslated --no-obsolete "$work/merged.po"; msgattrib --only-fuzzy --no-obsolete "$work/merged.po")
        [[ -z $missing ]] || { printf '%s lacks:\n%s\n' "$catalogue" "$missing"; status=1; }
    done
    return "$status"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
template >"$work/zelvane.pot"
if [[ ${1:-} == --check ]]; then check; else update; fi
