// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/UserDefaults.h"

#include "Platform/Foundation/DamagedFile.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace zelvane {

namespace {

std::optional<PropertyList> valueIn(const PropertyList::Dictionary& domain, const std::string& key) {
    const auto found = domain.find(key);
    return found != domain.end() ? std::optional(found->second) : std::nullopt;
}

std::int64_t wholeNumber(double number) {
    constexpr double kEnd = 9223372036854775808.0;
    if (std::isnan(number)) return 0;
    if (number >= kEnd) return std::numeric_limits<std::int64_t>::max();
    if (number < -kEnd) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(number);
}

struct IntegerOf {
    std::int64_t operator()(bool value) const { return value ? 1 : 0; }
    std::int64_t operator()(std::int64_t value) const { return value; }
    std::int64_t operator()(double value) const { return wholeNumber(value); }
    std::int64_t operator()(const std::string& value) const { return integerPrefix(value); }
    std::int64_t operator()(const auto& /*list or data*/) const { return 0; }
};

template <typename Number>
std::string shortestText(Number number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
    return {text.data(), end.ptr};
}

struct StringOf {
    using Text = std::optional<std::string>;
    Text operator()(bool value) const { return value ? "1" : "0"; }
    Text operator()(std::int64_t value) const { return shortestText(value); }
    Text operator()(double value) const { return shortestText(value); }
    Text operator()(const std::string& value) const { return value; }
    Text operator()(const auto& /*list or data*/) const { return std::nullopt; }
};

/// False when the file had to stay where it is.
bool setAside(const std::filesystem::path& file, const Error& error) {
    std::string reason;
    const auto name = setAsideDamagedFile(file, reason);
    Log::write("UserDefaults: [%@] %@", {"initWithFile:", error.description});
    if (name) {
        Log::write("UserDefaults: [%@] the damaged file is kept as %@", {"initWithFile:", name->string()});
    } else {
        Log::write("UserDefaults: [%@] unable to set aside %@, settings will not be saved: %@",
                   {"initWithFile:", file.string(), reason});
    }
    return name.has_value();
}

}  // namespace

UserDefaults::UserDefaults(std::filesystem::path file) : _file(std::move(file)) {
    constexpr int kMissing = 1;
    Error error;
    auto list = readPropertyListFile(_file, error);
    if (!list && error.code == kMissing) return;
    if (list && std::holds_alternative<PropertyList::Dictionary>(list->value)) {
        _user = std::get<PropertyList::Dictionary>(std::move(list->value));
        return;
    }
    if (list) error.description = _file.string() + " holds no dictionary";
    _mayWrite = setAside(_file, error);
}

void UserDefaults::registerDefaults(const PropertyList::Dictionary& defaults) {
    const std::lock_guard lock(_mutex);
    for (const auto& [key, value] : defaults) _registered.insert_or_assign(key, value);
}

void UserDefaults::setArgument(const std::string& key, PropertyList value) {
    const std::lock_guard lock(_mutex);
    _arguments.insert_or_assign(key, std::move(value));
}

std::optional<PropertyList> UserDefaults::object(const std::string& key) const {
    const std::lock_guard lock(_mutex);
    for (const auto* domain : {&_arguments, &_user, &_registered}) {
        if (auto value = valueIn(*domain, key)) return value;
    }
    return std::nullopt;
}

std::optional<PropertyList> UserDefaults::registeredObject(const std::string& key) const {
    const std::lock_guard lock(_mutex);
    return valueIn(_registered, key);
}

std::optional<std::string> UserDefaults::string(const std::string& key) const {
    const auto value = object(key);
    return value ? std::visit(StringOf(), value->value) : std::nullopt;
}

std::int64_t UserDefaults::integer(const std::string& key) const {
    const auto value = object(key);
    return value ? std::visit(IntegerOf(), value->value) : 0;
}

void UserDefaults::set(const std::string& key, PropertyList value) {
    std::unique_lock lock(_mutex);
    if (valueIn(_user, key) == value) return;
    _user.insert_or_assign(key, std::move(value));
    changed(std::move(lock));
}

void UserDefaults::remove(const std::string& key) {
    std::unique_lock lock(_mutex);
    if (_user.erase(key) > 0) changed(std::move(lock));
}

void UserDefaults::setSaveHandler(std::function<void()> handler) {
    const std::lock_guard lock(_mutex);
    _saveHandler = std::move(handler);
}

/// Hands on without the lock: the handler may well read a setting.
void UserDefaults::changed(std::unique_lock<std::mutex> lock) {
    _isDirty = true;
    const auto handler = _saveHandler;
    lock.unlock();
    if (handler) {
        handler();
    } else {
        save();
    }
}

bool UserDefaults::saveAnyway() {
    {
        const std::lock_guard lock(_mutex);
        _isDirty = true;
    }
    return save();
}

bool UserDefaults::save() {
    const std::lock_guard saving(_saving);
    std::unique_lock lock(_mutex);
    if (!_isDirty || !_mayWrite) return !_isDirty;
    const PropertyList snapshot{_user};
    _isDirty = false;
    lock.unlock();
    Error error;
    if (writePropertyListFile(_file, snapshot, error)) return true;
    Log::write("UserDefaults: [%@] %@", {"save", error.description});
    lock.lock();
    _isDirty = true;
    return false;
}

}  // namespace zelvane
