// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The system log: one line each, on standard error, which is the journal for a service. Any thread but the audio
/// thread.
class Log {
  public:
    using Sink = std::function<void(std::string_view line)>;

    /// Writes "OWNER: [SELECTOR] TEXT". The pattern holds the whole line with its placeholders, the selector being the
    /// first argument, so that the fixed texts can be found in the code as they stand.
    static void write(std::string_view pattern, const std::vector<std::string>& arguments);

    /// Sends lines elsewhere (a test's list) until the returned guard goes away. The sink may be called on any thread,
    /// one line at a time, and may not log itself.
    class Redirection;
    [[nodiscard]] static Redirection redirect(Sink sink);
};

/// Keeps a redirection of the log alive.
class Log::Redirection {
  public:
    Redirection(Redirection&& other) noexcept;
    Redirection& operator=(Redirection&&) = delete;
    ~Redirection();

  private:
    friend class Log;
    explicit Redirection(Sink previous);
    Sink _previous;
    bool _isActive = true;
};

}  // namespace zelvane
