// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace zelvane {

namespace detail {
// Volatile, since compilers know that malloc reads no variables of ours and would move it out of the scope.
inline constinit thread_local volatile bool isRenderingAudio = false;
}  // namespace detail

/// While it lives, the calling thread renders audio against a deadline. Code that other threads may use as well asks
/// `isActive` what it may do; tests count every allocation, lock and system call made meanwhile. Real-time safe, may
/// nest.
class RealtimeScope {
  public:
    RealtimeScope() noexcept : _former(detail::isRenderingAudio) { detail::isRenderingAudio = true; }
    ~RealtimeScope() { detail::isRenderingAudio = _former; }
    RealtimeScope(const RealtimeScope&) = delete;
    RealtimeScope& operator=(const RealtimeScope&) = delete;

    static bool isActive() noexcept { return detail::isRenderingAudio; }

  private:
    const bool _former;
};

/// Lifts the scope around a call of others' code that breaks its rules and can't be done without. Real-time safe.
class RealtimeExemption {
  public:
    /// The reason is for the reader of the code.
    explicit RealtimeExemption([[maybe_unused]] const char* reason) noexcept : _former(detail::isRenderingAudio) {
        detail::isRenderingAudio = false;
    }
    ~RealtimeExemption() { detail::isRenderingAudio = _former; }
    RealtimeExemption(const RealtimeExemption&) = delete;
    RealtimeExemption& operator=(const RealtimeExemption&) = delete;

  private:
    const bool _former;
};

}  // namespace zelvane
