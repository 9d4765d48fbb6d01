// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/InstrumentTrial.h"

#include <algorithm>

namespace zelvane {

namespace {

constexpr Duration kInterval = std::chrono::seconds(1);
constexpr int kIntervals = 2;

bool haveAllGrown(const std::vector<std::uint64_t>& before, const std::vector<std::uint64_t>& now) {
    return std::equal(before.begin(), before.end(), now.begin(), now.end(),
                      [](std::uint64_t a, std::uint64_t b) { return a < b; });
}

}  // namespace

InstrumentTrial::~InstrumentTrial() {
    end();
}

void InstrumentTrial::begin(const std::string& instrument) {
    _hasFailed = false;
    _mark.put(instrument);
}

void InstrumentTrial::watch(RunLoop& runLoop, BlockCounts counts) {
    if (_watch != nullptr) _watch->invalidate();
    std::vector<std::uint64_t> last = counts();
    const auto look = [this, counts = std::move(counts), last = std::move(last),
                       left = kIntervals](Timer& timer) mutable {
        std::vector<std::uint64_t> now = counts();
        if (haveAllGrown(last, now)) --left;
        last = std::move(now);
        if (left > 0) return;
        timer.invalidate();
        _mark.remove();
    };
    _watch = Timer::every(kInterval, look);
    runLoop.add(_watch);
}

void InstrumentTrial::end() {
    if (_watch != nullptr) _watch->invalidate();
    if (_hasFailed) {
        _mark.leave();
    } else {
        _mark.remove();
    }
}

}  // namespace zelvane
