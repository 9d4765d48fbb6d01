// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Jack/JackLibraries.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zelvane {

/// Another program on the same server. It plays at exact frames, and knows what it wrote and what it heard.
class JackMIDIPeer {
  public:
    using Bytes = std::vector<std::uint8_t>;
    struct Planned {
        std::uint32_t frame;  ///< from the begin of a cycle that comes soon on
        Bytes bytes;
    };
    struct Event {
        std::uint64_t cycle;
        TimePoint time;  ///< on JACK's clock
        Bytes bytes;
        std::size_t output = 0;  ///< by which it was written
    };

    /// With an alias, the ports are a device's, and called "ALIAS:NAME" too.
    JackMIDIPeer(const char* name, const std::vector<std::string>& outputs, const std::vector<std::string>& inputs = {},
                 const std::string& alias = {});
    ~JackMIDIPeer();
    JackMIDIPeer(const JackMIDIPeer&) = delete;
    JackMIDIPeer& operator=(const JackMIDIPeer&) = delete;

    bool isOpen() const { return _isActive; }
    bool isDead() const { return _client->isDead(); }
    bool connect(const std::string& source, const std::string& destination) const;
    bool disconnect(const std::string& source, const std::string& destination) const;
    /// The ports that one is connected to.
    std::vector<std::string> connections(const std::string& port) const;

    void play(std::vector<Planned> events, std::size_t output = 0);
    bool hasPlayed() const;
    /// `hasPlayed`, and two cycles more.
    bool isDone() const { return hasPlayed() && _cycles.load() > _doneAt.load() + 2; }
    std::vector<Event> written() const;
    void forget();
    std::vector<Bytes> heard() const;
    std::uint64_t xruns() const { return _xruns; }

  private:
    int process(jack_nframes_t frames) noexcept;
    void write(jack_nframes_t frames, jack_nframes_t cycleFrame, TimePoint start);
    void listen(jack_nframes_t frames);

    JackLibraries _libraries;
    std::unique_ptr<JackClient> _client;
    std::vector<jack_port_t*> _outputs;
    std::vector<jack_port_t*> _inputs;
    bool _isActive = false;
    std::atomic<std::uint64_t> _xruns{0};
    std::atomic<std::uint64_t> _cycles{0};
    std::atomic<std::uint64_t> _doneAt{0};

    mutable std::mutex _mutex;  // its deadline is not what is tested
    std::vector<Planned> _plan;
    std::size_t _planned = 0;  // of these are written
    std::size_t _output = 0;
    std::uint32_t _planStart = 0;
    bool _isPlanNew = false;
    std::vector<Event> _written;
    std::vector<Bytes> _heard;
};

}  // namespace zelvane
