// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/AudioHardwareObjects.h"

namespace zelvane {

namespace {

AudioStreamBasicDescription physicalFormat(const AudioDeviceFormat& format) {
    constexpr std::uint32_t kFloatBits = 32;
    constexpr std::uint32_t kBitsPerByte = 8;
    const bool isFloat = format.bitsPerChannel == kFloatBits;
    const std::uint32_t frameSize = format.channels * format.bitsPerChannel / kBitsPerByte;
    return {.mSampleRate = format.sampleRate,
            .mFormatID = kAudioFormatLinearPCM,
            .mFormatFlags =
                kAudioFormatFlagIsPacked | (isFloat ? kAudioFormatFlagIsFloat : kAudioFormatFlagIsSignedInteger),
            .mBytesPerPacket = frameSize,
            .mFramesPerPacket = 1,
            .mBytesPerFrame = frameSize,
            .mChannelsPerFrame = format.channels,
            .mBitsPerChannel = format.bitsPerChannel};
}

}  // namespace

AudioHardware::Objects::Objects(OutputDeviceController& controller)
    : _controller(controller), _listeners([this](AudioObjectID object, const AudioObjectPropertyAddress& address) {
          PropertyValue value;
          return read(object, address, value) == kNoError ? bytesOf(value) : std::vector<std::byte>();
      }) {
    refresh();
}

OSStatus AudioHardware::Objects::read(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                      PropertyValue& value) {
    if (object == kAudioObjectSystemObject) return readSystem(address, value);
    return readDevice(object, address, value);
}

std::optional<OutputDeviceController::Choice> AudioHardware::Objects::choice(AudioObjectID object) const {
    const std::optional<AudioObjectTable::Device> found = device(object);
    return found ? std::optional(found->choice) : std::nullopt;
}

OSStatus AudioHardware::Objects::readSystem(const AudioObjectPropertyAddress& address, PropertyValue& value) {
    if (address.mElement != 0) return kAudioHardwareUnknownPropertyError;
    if (address.mSelector == kAudioHardwarePropertyDevices) {
        value = refresh();
        return kNoError;
    }
    if (address.mSelector != kAudioHardwarePropertyDefaultOutputDevice) return kAudioHardwareUnknownPropertyError;
    const OutputDeviceController::Choice choice = _controller.defaultDevice();
    refresh();
    const std::lock_guard lock(_mutex);
    value = _table.number(choice);
    return kNoError;
}

OSStatus AudioHardware::Objects::readDevice(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                            PropertyValue& value) {
    if (address.mSelector == kAudioStreamPropertyPhysicalFormat) refresh();
    const std::optional<AudioObjectTable::Device> found = device(object);
    if (!found) return kAudioHardwareBadObjectError;
    if (address.mElement != 0) return kAudioHardwareUnknownPropertyError;
    const bool isInput = address.mScope == kAudioDevicePropertyScopeInput;
    if (address.mSelector == kAudioDevicePropertyStreams) {
        const AudioObjectID stream = AudioObjectTable::streamOf(object);
        value = isInput ? std::vector<AudioObjectID>() : std::vector{stream};
    } else if (address.mSelector == kAudioDevicePropertyDeviceName) {
        value = found->info.name;
    } else if (address.mSelector == kAudioDevicePropertyBufferFrameSize && !isInput) {
        value = periodFrames(*found);
    } else if (address.mSelector == kAudioStreamPropertyPhysicalFormat && !isInput) {
        value = physicalFormat(found->info.format);
    } else {
        return kAudioHardwareUnknownPropertyError;
    }
    return kNoError;
}

std::vector<AudioObjectID> AudioHardware::Objects::refresh() {
    const auto present = _controller.devices();
    const std::lock_guard lock(_mutex);
    return _table.update(present);
}

std::optional<AudioObjectTable::Device> AudioHardware::Objects::device(AudioObjectID object) const {
    const std::lock_guard lock(_mutex);
    const AudioObjectTable::Device* found = _table.device(object);
    return found != nullptr ? std::optional(*found) : std::nullopt;
}

/// The one that plays knows better than the list.
std::uint32_t AudioHardware::Objects::periodFrames(const AudioObjectTable::Device& device) const {
    const OutputDeviceController::Status status = _controller.status();
    return status.current == device.choice ? status.format.periodFrames : device.info.format.periodFrames;
}

}  // namespace zelvane
