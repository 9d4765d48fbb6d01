// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>

namespace zelvane {

/// How long a message takes from the MIDI client to what the sound client's ports are wired to. A server works out
/// latencies along its wires, and knows of no way from the one to the other: so each tells here what the server told
/// it. Any thread but the audio thread.
class JackThroughput {
  public:
    /// In frames, least and most along the ways that there are.
    struct Range {
        std::uint32_t least = 0;
        std::uint32_t most = 0;
        bool operator==(const Range&) const = default;

        Range operator+(std::uint32_t frames) const { return {least + frames, most + frames}; }
    };

    /// How old messages are when they come to our ports: nothing where they are made then.
    void setAgeOfMessages(Range age);
    Range ageOfMessages() const;
    /// How long after it came to our ports a message is heard; none where no sound of ours goes through the server.
    void setTimeToSound(std::optional<Range> time);
    std::optional<Range> timeToSound() const;

  private:
    mutable std::mutex _mutex;
    Range _ageOfMessages;
    std::optional<Range> _timeToSound;
};

}  // namespace zelvane
