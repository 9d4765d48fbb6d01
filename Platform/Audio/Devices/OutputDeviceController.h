// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioDevice.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// Keeps a renderer playing on the chosen device. A device that dies is left for the fallback (the last back end, which
/// is always there) and taken up again when it returns; with no choice, the first back end's default that is there is
/// followed. A thread of its own watches, opens and closes; all operations may be called on any thread.
class OutputDeviceController {
  public:
    struct Choice {
        std::string backEnd;  ///< empty: no choice, the default is followed
        std::string device;
        bool operator==(const Choice&) const = default;
    };
    struct Status {
        Choice current;  ///< what plays now
        AudioDeviceFormat format;
        bool isFallback = false;  ///< playing elsewhere than was chosen
        std::uint64_t xruns = 0;  ///< of all devices since the start
    };

    /// The back ends in the order of preference. `housekeeping` is called by the watching thread about every 100 ms:
    /// for what the audio thread wants told. The renderer must outlive the controller.
    OutputDeviceController(std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds, AudioRenderer& renderer,
                           std::function<void()> housekeeping);
    ~OutputDeviceController();

    /// Opens the chosen device and waits for that at most 3 s. When it returns a device plays: the chosen one or the
    /// fallback.
    void select(const Choice& choice);
    /// The wish for the period; reopens the device only where the device can follow it.
    void setPeriodFrames(std::uint32_t frames);
    Status status() const;
    /// All devices now, the fallback's last. A server that hangs is waited for half a second, then told of as it was.
    std::vector<std::pair<Choice, AudioDeviceInfo>> devices();
    /// What plays, or would play, without a choice.
    Choice defaultDevice();

  private:
    class Watch;
    std::unique_ptr<Watch> _watch;
};

}  // namespace zelvane
