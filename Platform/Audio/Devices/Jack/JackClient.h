// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/Jack/JackLibrary.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// One connection to a JACK server; closed when the object goes away, whether the server still lives or not.
class JackClient {
  public:
    /// Null when no server answers this library. Never starts a server.
    static std::unique_ptr<JackClient> open(const JackLibrary& library);
    ~JackClient();
    JackClient(const JackClient&) = delete;
    JackClient& operator=(const JackClient&) = delete;

    const JackLibrary& library() const { return _library; }
    jack_client_t* handle() const { return _client; }
    /// The server has gone. Any thread, real-time safe.
    bool isDead() const { return _isDead.load(std::memory_order_relaxed); }

    /// The clients with physical inputs for sound, the server's default first.
    std::vector<std::string> sinks() const;
    /// Full names of a sink's physical inputs, in its order. Empty when it is not there.
    std::vector<std::string> inputs(const std::string& sink) const;

  private:
    struct Input {
        std::string sink;
        std::string port;
    };

    JackClient(const JackLibrary& library, jack_client_t* client);
    std::vector<Input> physicalInputs() const;
    std::string ownerOf(const std::string& portName) const;

    const JackLibrary& _library;
    jack_client_t* const _client;
    std::atomic<bool> _isDead{false};  // written by a thread of the library, read by any
};

/// Holds back the signal that writing to a dead server's socket would end the program with. libjack blocks it in the
/// thread that loads it only.
class ScopedBrokenPipeBlock {
  public:
    ScopedBrokenPipeBlock();
    ~ScopedBrokenPipeBlock();
    ScopedBrokenPipeBlock(const ScopedBrokenPipeBlock&) = delete;
    ScopedBrokenPipeBlock& operator=(const ScopedBrokenPipeBlock&) = delete;

  private:
    bool _wasBlocked = false;
};

}  // namespace zelvane
