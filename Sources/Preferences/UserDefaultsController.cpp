// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Preferences/UserDefaultsController.h"

#include <utility>

namespace zelvane {

std::optional<PropertyList> UserDefaultsController::value(const std::string& key) const {
    const auto pending = _pending.find(key);
    return pending != _pending.end() ? pending->second : _defaults.object(key);
}

std::optional<std::string> UserDefaultsController::string(const std::string& key) const {
    const auto pending = _pending.find(key);
    if (pending == _pending.end() || !pending->second) return _defaults.string(key);
    const auto* text = std::get_if<std::string>(&pending->second->value);
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::int64_t UserDefaultsController::integer(const std::string& key) const {
    const auto pending = _pending.find(key);
    if (pending == _pending.end() || !pending->second) return _defaults.integer(key);
    const auto* number = std::get_if<std::int64_t>(&pending->second->value);
    return number != nullptr ? *number : 0;
}

void UserDefaultsController::setValue(const std::string& key, std::optional<PropertyList> value) {
    if (_appliesImmediately) return store(key, value);
    _pending.insert_or_assign(key, std::move(value));
}

void UserDefaultsController::save() {
    for (const auto& [key, value] : std::exchange(_pending, {})) store(key, value);
}

void UserDefaultsController::store(const std::string& key, const std::optional<PropertyList>& value) {
    if (value == _defaults.object(key)) return;
    if (!value || value == _defaults.registeredObject(key)) return _defaults.remove(key);
    _defaults.set(key, *value);
}

}  // namespace zelvane
