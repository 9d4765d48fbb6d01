// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/AudioObjectTable.h"

#include <algorithm>

namespace zelvane {

namespace {
constexpr AudioObjectID kFirstNumber = kAudioObjectSystemObject + 1;
}

std::vector<AudioObjectID> AudioObjectTable::update(const std::vector<std::pair<Choice, AudioDeviceInfo>>& present) {
    for (Device& device : _devices) device.isPresent = false;
    std::vector<AudioObjectID> numbers;
    for (const auto& [choice, info] : present) {
        auto device = std::ranges::find(_devices, choice, &Device::choice);
        if (device == _devices.end()) device = _devices.insert(device, Device{.choice = choice});
        device->info = info;
        device->isPresent = true;
        numbers.push_back(number(choice));
    }
    return numbers;
}

AudioObjectID AudioObjectTable::number(const Choice& choice) const {
    const auto device = std::ranges::find(_devices, choice, &Device::choice);
    if (device == _devices.end()) return 0;
    return kFirstNumber + 2 * static_cast<AudioObjectID>(device - _devices.begin());
}

const AudioObjectTable::Device* AudioObjectTable::device(AudioObjectID object) const {
    if (object < kFirstNumber || (object - kFirstNumber) / 2 >= _devices.size()) return nullptr;
    return &_devices[(object - kFirstNumber) / 2];
}

}  // namespace zelvane
