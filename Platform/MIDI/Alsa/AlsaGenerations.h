// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/Alsa/AlsaPort.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace zelvane {

/// Tells ports apart that have had the same numbers one after the other. Any thread.
class AlsaGenerations {
  public:
    /// The port went away, or with -1 for the port the whole client.
    void end(AlsaAddress address);

    /// "client:port#generation" of who has these numbers now.
    std::string addressOf(AlsaAddress address) const;
    /// The numbers; none when that port has gone, or the text isn't one that `addressOf` made.
    std::optional<AlsaAddress> find(const std::string& address) const;

  private:
    mutable std::mutex _mutex;
    std::uint64_t _ends = 0;
    std::map<AlsaAddress, std::uint64_t> _lastEnds;
};

}  // namespace zelvane
