// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/DeviceHunt.h"

namespace zelvane {

DeviceHunt::Outcome DeviceHunt::proceed(TimePoint now) {
    while (_next < _candidates.size()) {
        const std::size_t tried = _next;
        const Outcome outcome = tryNext(now);
        if (outcome == Outcome::found || _next == tried) return outcome;
    }
    return Outcome::failed;
}

/// Leaves `_next` where it is as long as there is hope for it.
DeviceHunt::Outcome DeviceHunt::tryNext(TimePoint now) {
    BackEndWorker& worker = *_workers[_candidates[_next].worker];
    if (!_deadline) _deadline = now + _patience;
    // The worker may still be at what an earlier hunt asked for.
    if (!_hasAsked && !worker.isOpening()) {
        worker.open(_candidates[_next].device, _wish);
        _hasAsked = true;
    }
    std::optional<BackEndWorker::Attempt> attempt = _hasAsked ? worker.takeAttempt() : std::nullopt;
    if (attempt && attempt->opened) {
        _found = std::move(attempt->opened);
        return Outcome::found;
    }
    if (attempt) {
        giveUpNext(attempt->error.description);
    } else if (now > *_deadline) {
        giveUpNext("the server does not answer");
    }
    return Outcome::searching;
}

void DeviceHunt::giveUpNext(const std::string& reason) {
    _reason = reason;
    ++_next;
    _hasAsked = false;
    _deadline.reset();
}

}  // namespace zelvane
