// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/WorkQueue.h"

#include <atomic>

namespace zelvane {

std::uint64_t nextSequence() {
    static std::atomic<std::uint64_t> sequence{0};
    return sequence.fetch_add(1, std::memory_order_relaxed);
}

void WaitingPerform::finish(Outcome result) {
    const std::shared_ptr<Signal> kept = signal;
    const std::lock_guard lock(kept->mutex);
    outcome = result;
    kept->condition.notify_all();
}

bool WorkQueue::push(Key key, Work work) {
    Map& map = std::holds_alternative<WaitingPerform*>(work) ? _waiting : _ordinary;
    const auto first = firstDate();
    map.emplace_hint(map.end(), key, std::move(work));
    return !first || key.date < *first;
}

std::optional<TimePoint> WorkQueue::firstDate() const {
    std::optional<TimePoint> date;
    for (const Map* map : {&_ordinary, &_waiting}) {
        if (!map->empty() && (!date || map->begin()->first.date < *date)) date = map->begin()->first.date;
    }
    return date;
}

WorkQueue::Map& WorkQueue::firstMap() {
    if (_waiting.empty()) return _ordinary;
    if (_ordinary.empty()) return _waiting;
    return _waiting.begin()->first < _ordinary.begin()->first ? _waiting : _ordinary;
}

WorkQueue::Item WorkQueue::popFirst() {
    Map& map = firstMap();
    return map.extract(map.begin());
}

WorkQueue::Item WorkQueue::popFirstWaiting() {
    if (_waiting.empty()) return {};
    return _waiting.extract(_waiting.begin());
}

void WorkQueue::swap(WorkQueue& other) noexcept {
    _ordinary.swap(other._ordinary);
    _waiting.swap(other._waiting);
}

}  // namespace zelvane
