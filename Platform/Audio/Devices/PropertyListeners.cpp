// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/PropertyListeners.h"

#include "Platform/Foundation/Thread.h"

#include <algorithm>

namespace zelvane {

namespace {
constexpr Duration kInterval = std::chrono::milliseconds(250);
}

PropertyListeners::~PropertyListeners() {
    {
        const std::lock_guard lock(_mutex);
        _isStopping = true;
    }
    _condition.notify_all();
    if (_thread.joinable()) _thread.join();
}

void PropertyListeners::add(const Listener& listener) {
    const auto entry = std::make_shared<Entry>(Entry{listener, _read(listener.object, listener.address)});
    const std::lock_guard lock(_mutex);
    const auto isSame = [&](const std::shared_ptr<Entry>& other) { return other->listener == listener; };
    if (std::ranges::any_of(_entries, isSame)) return;
    _entries.push_back(entry);
    if (!_thread.joinable()) _thread = startThread("device changes", ThreadRole::ordinary, [this] { watch(); });
}

bool PropertyListeners::remove(const Listener& listener) {
    std::unique_lock lock(_mutex);
    const auto isSame = [&](const std::shared_ptr<Entry>& other) { return other->listener == listener; };
    const auto found = std::ranges::find_if(_entries, isSame);
    if (found == _entries.end()) return false;
    const std::shared_ptr<Entry> entry = *found;
    entry->isRemoved = true;
    _entries.erase(found);
    if (std::this_thread::get_id() == _thread.get_id()) return true;
    _condition.wait(lock, [&] { return _called != entry.get(); });
    return true;
}

void PropertyListeners::watch() {
    std::unique_lock lock(_mutex);
    while (!_condition.wait_for(lock, kInterval, [this] { return _isStopping; })) {
        const std::vector<std::shared_ptr<Entry>> entries = _entries;
        lock.unlock();
        for (const auto& entry : entries) look(*entry);
        lock.lock();
    }
}

void PropertyListeners::look(Entry& entry) {
    Value value = _read(entry.listener.object, entry.listener.address);
    if (value == entry.latest) return;
    entry.latest = std::move(value);
    {
        const std::lock_guard lock(_mutex);
        if (entry.isRemoved) return;
        _called = &entry;
    }
    const Listener& listener = entry.listener;
    listener.procedure(listener.object, 1, &listener.address, listener.clientData);
    {
        const std::lock_guard lock(_mutex);
        _called = nullptr;
    }
    _condition.notify_all();
}

}  // namespace zelvane
