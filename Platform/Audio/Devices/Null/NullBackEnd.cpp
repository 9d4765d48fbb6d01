// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/Null/NullBackEnd.h"

#include "Platform/Audio/Devices/Null/NullStream.h"

#include <algorithm>

namespace zelvane {

namespace {
constexpr const char* kDeviceName = "null";
}

std::vector<AudioDeviceInfo> NullBackEnd::devices() {
    return {{.name = kDeviceName, .format = format(AudioStreamWish().periodFrames), .isDefault = true}};
}

std::unique_ptr<AudioStream> NullBackEnd::open(const std::string& deviceName, const AudioStreamWish& wish,
                                               Error& error) {
    if (!deviceName.empty() && deviceName != kDeviceName) {
        error = {"AudioDevice", 1, "there is no such device"};
        return nullptr;
    }
    return std::make_unique<NullStream>(format(std::clamp(wish.periodFrames, kSmallestPeriod, kLargestPeriod)));
}

AudioDeviceFormat NullBackEnd::format(std::uint32_t periodFrames) const {
    return {.sampleRate = double(_sampleRate), .channels = _channels, .periodFrames = periodFrames};
}

}  // namespace zelvane
