// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/MessageRing.h"

#include <lv2/log/log.h>

#include <atomic>
#include <cstdarg>
#include <string>

namespace zelvane {

/// While it lives, the calling thread runs a plug-in against a deadline. Real-time safe.
class Lv2RunScope {
  public:
    Lv2RunScope() noexcept { _isActive = true; }
    ~Lv2RunScope() { _isActive = false; }
    Lv2RunScope(const Lv2RunScope&) = delete;
    Lv2RunScope& operator=(const Lv2RunScope&) = delete;
    static bool isActive() noexcept { return _isActive; }

  private:
    inline static constinit thread_local bool _isActive = false;
};

/// Takes what a plug-in has to say to our log. What it says while it renders waits in a bounded queue until `tell`.
class Lv2Log {
  public:
    explicit Lv2Log(std::string name) : _name(std::move(name)) {}
    Lv2Log(const Lv2Log&) = delete;
    Lv2Log& operator=(const Lv2Log&) = delete;

    LV2_Log_Log* feature() { return &_feature; }

    /// Writes what waits. One control thread at a time.
    void tell();

    /// Lines lost since the queue was full. Any thread.
    std::uint64_t lost() const { return _lost.load(std::memory_order_relaxed); }

  private:
    static int printLine(LV2_Log_Handle handle, LV2_URID type, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    static int printLineFrom(LV2_Log_Handle handle, LV2_URID type, const char* format, va_list arguments)
        __attribute__((format(printf, 3, 0)));
    void write(std::string text);

    static constexpr std::size_t kWaitingBytes = 16384;
    static constexpr std::uint64_t kMostLines = 200;  // of one instance: some never stop

    const std::string _name;
    LV2_Log_Log _feature{this, &printLine, &printLineFrom};
    MessageRing _waiting{kWaitingBytes};   // written by the audio thread, read by `tell`
    std::atomic<std::uint64_t> _lines{0};  // written so far, by any thread but the audio thread
    std::atomic<std::uint64_t> _lost{0};   // counted by the audio thread, read by all
};

}  // namespace zelvane
