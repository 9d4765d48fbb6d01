// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Log.h"

#include <mutex>
#include <string>
#include <vector>

namespace zelvane {

/// Collects the lines of the log while it lives, from all threads.
class LogLines {
  public:
    LogLines()
        : _redirection(Log::redirect([this](std::string_view line) {
              const std::lock_guard lock(_mutex);
              _lines.emplace_back(line);
          })) {}
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    std::vector<std::string> all() const {
        const std::lock_guard lock(_mutex);
        return _lines;
    }

    /// Those of one class.
    std::vector<std::string> of(const std::string& owner) const {
        std::vector<std::string> lines = all();
        std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(owner + ":"); });
        return lines;
    }

  private:
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
    Log::Redirection _redirection;
};

}  // namespace zelvane
