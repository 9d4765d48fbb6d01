#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# translations.sh           brings the template of the catalogues, and the catalogues themselves, up to date with the code
# translations.sh --check   fails when the template is out of date, or a catalogue lacks a text or has one that doesn't fit
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
folder=Resources/Translations

# Functions that are given a text to translate, and which of their arguments it is: besides the one that looks it up,
# those that hand theirs on to it.
keywords=(localizedString translated described:3 toggle:3 fileError:2 recordingError:2 fail:2 "addItem:2" text:1)

# Every placeholder has to be in a translation too; those of "objc-format" include %@.
texts_of_code() {
    git ls-files -co --exclude-standard 'Platform/*.cpp' 'PYMIDI/*.cpp' 'Sources/*.cpp' 'Sources/*.h' 'Resources/*.cpp' |
        LC_ALL=C sort |
        xgettext --files-from=- --language=C++ --from-code=UTF-8 --keyword "${keywords[@]/#/--keyword=}" \
            "${keywords[@]/%/}" --output=- 2>/dev/null
}
