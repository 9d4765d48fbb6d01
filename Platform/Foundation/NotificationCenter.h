// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace zelvane {

/// Tells whoever wants to know that something happened, without either side knowing the other. Main thread.
class NotificationCenter {
  public:
    using Observer = std::function<void(const void* object)>;

    /// The one that the whole program shares.
    static NotificationCenter& defaultCenter();

    /// Called at each posting of that name for as long as the returned handle lives.
    [[nodiscard]] std::shared_ptr<void> addObserver(const std::string& name, Observer observer);

    /// Calls the observers of that name before it returns; those that are added meanwhile are left out.
    void post(const std::string& name, const void* object);

  private:
    std::multimap<std::string, std::weak_ptr<Observer>> _observers;
};

}  // namespace zelvane
