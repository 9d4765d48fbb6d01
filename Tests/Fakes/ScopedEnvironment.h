// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace zelvane {

/// While it lives, the process has other variables; one without a value is not there.
class ScopedEnvironment {
  public:
    using Variables = std::map<std::string, std::optional<std::string>>;

    explicit ScopedEnvironment(const Variables& variables) {
        for (const auto& [name, value] : variables) {
            const char* old = std::getenv(name.c_str());
            _old[name] = old != nullptr ? std::optional<std::string>(old) : std::nullopt;
            put(name, value);
        }
    }
    ~ScopedEnvironment() {
        for (const auto& [name, value] : _old) put(name, value);
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

  private:
    static void put(const std::string& name, const std::optional<std::string>& value) {
        value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }

    Variables _old;
};

}  // namespace zelvane
