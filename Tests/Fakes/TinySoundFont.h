// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <filesystem>
#include <string>

namespace zelvane {

/// A sound font of two samples whose sound is known: both begin at full height at once, without an attack.
/// Presets by bank:program: 0:0 "Sine" (endless, key 69 sounds 440 Hz sharp to the bit), 0:1 "Click" (2 ms), 1:0
/// "Octave" (the sine an octave higher) and 128:0 "Drum" (the click).
std::string tinySoundFont();

/// Writes it to a file.
void writeTinySoundFont(const std::filesystem::path& file);

}  // namespace zelvane
