// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaPort.h"

#include <filesystem>

namespace zelvane {

inline const std::filesystem::path kAlsaCardsFolder = "/sys/class/sound";

/// What the kernel tells in its files of the device behind a card: its numbers on USB, where it is there. The name is
/// left empty.
AlsaCard readAlsaCard(const std::filesystem::path& cards, int number);

}  // namespace zelvane
