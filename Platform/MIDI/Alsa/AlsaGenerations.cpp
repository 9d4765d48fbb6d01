// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaGenerations.h"

#include <algorithm>
#include <cstdio>

namespace zelvane {

void AlsaGenerations::end(AlsaAddress address) {
    const std::lock_guard lock(_mutex);
    _lastEnds[address] = ++_ends;
}

std::string AlsaGenerations::addressOf(AlsaAddress address) const {
    const std::lock_guard lock(_mutex);
    const auto lastEnd = [this](AlsaAddress who) {
        const auto entry = _lastEnds.find(who);
        return entry == _lastEnds.end() ? 0 : entry->second;
    };
    const auto generation = std::max(lastEnd(address), lastEnd({address.client, -1}));
    return std::to_string(address.client) + ":" + std::to_string(address.port) + "#" + std::to_string(generation);
}

std::optional<AlsaAddress> AlsaGenerations::find(const std::string& address) const {
    AlsaAddress found;
    if (std::sscanf(address.c_str(), "%d:%d#", &found.client, &found.port) != 2) return std::nullopt;
    if (addressOf(found) != address) return std::nullopt;
    return found;
}

}  // namespace zelvane
