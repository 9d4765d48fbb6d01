// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/NotificationCenter.h"

#include <utility>
#include <vector>

namespace zelvane {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter center;
    return center;
}

std::shared_ptr<void> NotificationCenter::addObserver(const std::string& name, Observer observer) {
    auto handle = std::make_shared<Observer>(std::move(observer));
    std::erase_if(_observers, [](const auto& entry) { return entry.second.expired(); });
    _observers.emplace(name, handle);
    return handle;
}

void NotificationCenter::post(const std::string& name, const void* object) {
    // An observer may add others, or let them go, while it is called.
    std::vector<std::weak_ptr<Observer>> called;
    const auto [first, last] = _observers.equal_range(name);
    for (auto entry = first; entry != last; ++entry) called.push_back(entry->second);
    for (const auto& weak : called) {
        if (const auto observer = weak.lock()) (*observer)(object);
    }
}

}  // namespace zelvane
