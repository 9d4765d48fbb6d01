// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Catalogue/CacheFile.h"

#include <cstdint>
#include <vector>

namespace zelvane {

/// Tells instruments of one name apart: the later ones get a number behind it. Of those the ones that can be played
/// come first, then it goes by URI, so that a name keeps its meaning as long as the same is installed.
void makeNamesUnique(std::vector<CachedInstrument>& instruments);

/// A number for each entry, at its place: the same on every machine unless two of them would share one. Never 0.
std::vector<std::uint32_t> uniqueSubTypes(const std::vector<Lv2Entry>& entries);

}  // namespace zelvane
