// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Clock.h"

#include <pulse/pulseaudio.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// A sink as the server tells it.
struct PulseSink {
    std::string name;
    std::string description;
    std::uint32_t index = 0;
    std::uint32_t sampleRate = 48000;
    std::uint32_t channels = 2;
    std::uint32_t bitsPerChannel = 32;
    bool isDefault = false;
};

/// A connection to a PulseAudio server with the thread that serves it. Nothing here waits for a server without a limit.
/// Inner header of the back end: names of PulseAudio go no further.
class PulseConnection {
  public:
    /// Null when no server answers in time. Never starts a server.
    static std::unique_ptr<PulseConnection> open(Duration limit);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Keeps the serving thread out. Everything below needs it, the serving thread's own callbacks apart.
    class Lock {
      public:
        explicit Lock(const PulseConnection& connection) : _loop(connection._loop) { pa_threaded_mainloop_lock(_loop); }
        ~Lock() { pa_threaded_mainloop_unlock(_loop); }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

      private:
        pa_threaded_mainloop* const _loop;
    };

    pa_context* context() const { return _context; }
    bool isAlive() const { return _context != nullptr && PA_CONTEXT_IS_GOOD(pa_context_get_state(_context)); }
    /// Waits until the condition holds; false when that takes too long or the connection ends.
    bool waitUntil(const std::function<bool()>& condition, Duration limit);
    /// To be called when something has changed that `waitUntil` may be waiting for.
    void signal() { pa_threaded_mainloop_signal(_loop, 0); }
    /// All sinks; empty when the server does not answer in time.
    std::vector<PulseSink> sinks(Duration limit);
    /// Ends the connection; no callback comes afterwards.
    void disconnect();
    /// Lets `function` run on the serving thread.
    void runOnce(void (*function)(pa_mainloop_api*, void*), void* argument) {
        pa_mainloop_api_once(pa_threaded_mainloop_get_api(_loop), function, argument);
    }

  private:
    PulseConnection();
    bool connect(Duration limit);
    bool finish(pa_operation* operation, Duration limit);

    pa_threaded_mainloop* const _loop;
    pa_context* _context = nullptr;
};

}  // namespace zelvane
