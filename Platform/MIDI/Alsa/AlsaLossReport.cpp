// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/AlsaLossReport.h"

#include "Platform/Foundation/Log.h"

#include <string>

namespace zelvane {

void AlsaLossReport::count(TimePoint now) {
    ++_untold;
    tell(now, false);
}

void AlsaLossReport::tell(TimePoint now, bool atOnce) {
    constexpr auto kInterval = std::chrono::seconds(1);
    if (_untold == 0 || (!atOnce && _lastTold && now - *_lastTold < kInterval)) return;
    Log::write("AlsaBackEnd: [%@] messages came faster than they could be taken, some are lost (times: %@)",
               {"read", std::to_string(_untold)});
    _untold = 0;
    _lastTold = now;
}

}  // namespace zelvane
