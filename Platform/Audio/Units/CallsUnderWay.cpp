// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/CallsUnderWay.h"

#include <algorithm>

namespace zelvane {

CallsUnderWay::Call::Call(CallsUnderWay& calls) : _calls(calls) {
    const std::lock_guard lock(_calls._mutex);
    _calls._threads.push_back(std::this_thread::get_id());
}

CallsUnderWay::Call::~Call() {
    // Told under the lock: who waits may take the object away right after.
    const std::lock_guard lock(_calls._mutex);
    auto& threads = _calls._threads;
    threads.erase(std::find(threads.begin(), threads.end(), std::this_thread::get_id()));
    _calls._condition.notify_all();
}

void CallsUnderWay::waitForOthers() {
    const auto isOther = [own = std::this_thread::get_id()](std::thread::id thread) { return thread != own; };
    std::unique_lock lock(_mutex);
    _condition.wait(lock, [&] { return std::none_of(_threads.begin(), _threads.end(), isOther); });
}

}  // namespace zelvane
