// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"

#include <optional>
#include <utility>
#include <vector>

namespace zelvane {

/// Which device has which number. Numbers are given once and never again to another device. Not synchronized.
class AudioObjectTable {
  public:
    using Choice = OutputDeviceController::Choice;

    struct Device {
        Choice choice;
        AudioDeviceInfo info{};  ///< as it was told last
        bool isPresent = false;
    };

    /// Takes the devices that are there now; returns their numbers in the same order.
    std::vector<AudioObjectID> update(const std::vector<std::pair<Choice, AudioDeviceInfo>>& present);
    /// The number of a device that was seen at least once; 0 for others.
    AudioObjectID number(const Choice& choice) const;
    /// The device of that number, or of the stream of that number; null when there is none.
    const Device* device(AudioObjectID object) const;
    /// The number of a device's one stream.
    static AudioObjectID streamOf(AudioObjectID device) { return device + 1; }

  private:
    std::vector<Device> _devices;  // the one at i has the number 2 i + 2
};

}  // namespace zelvane
