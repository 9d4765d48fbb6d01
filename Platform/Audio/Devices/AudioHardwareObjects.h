// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Devices/AudioHardware.h"
#include "Platform/Audio/Devices/AudioObjectTable.h"
#include "Platform/Audio/Devices/PropertyListeners.h"
#include "Platform/Audio/Devices/PropertyValue.h"

#include <mutex>
#include <optional>
#include <vector>

namespace zelvane {

/// What stands behind the numbers, and the values of their properties. Any thread.
class AudioHardware::Objects {
  public:
    explicit Objects(OutputDeviceController& controller);

    /// `kNoError` and the value, or the reason why there is none.
    OSStatus read(AudioObjectID object, const AudioObjectPropertyAddress& address, PropertyValue& value);
    std::optional<OutputDeviceController::Choice> choice(AudioObjectID object) const;
    PropertyListeners& listeners() { return _listeners; }

  private:
    OSStatus readSystem(const AudioObjectPropertyAddress& address, PropertyValue& value);
    OSStatus readDevice(AudioObjectID object, const AudioObjectPropertyAddress& address, PropertyValue& value);
    std::vector<AudioObjectID> refresh();
    std::optional<AudioObjectTable::Device> device(AudioObjectID object) const;
    std::uint32_t periodFrames(const AudioObjectTable::Device& device) const;

    OutputDeviceController& _controller;
    mutable std::mutex _mutex;
    AudioObjectTable _table;  // guarded by _mutex
    PropertyListeners _listeners;
};

}  // namespace zelvane
