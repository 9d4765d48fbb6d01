// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane {

/// What a note-off timer has to know.
struct NoteInfo {
    std::uint32_t midic = 0;    ///< hundredths of a semitone
    std::uint32_t channel = 1;  ///< MIDI channel, from 1
};

}  // namespace zelvane
