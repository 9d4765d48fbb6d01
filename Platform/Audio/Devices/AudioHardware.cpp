// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/AudioHardware.h"

#include "Platform/Audio/Devices/AudioHardwareObjects.h"

namespace zelvane {

AudioHardware::AudioHardware(OutputDeviceController& controller) : _objects(std::make_unique<Objects>(controller)) {}

AudioHardware::~AudioHardware() = default;

OSStatus AudioHardware::propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                         std::uint32_t& size) {
    PropertyValue value;
    const OSStatus status = _objects->read(object, address, value);
    if (status == kNoError) size = static_cast<std::uint32_t>(bytesOf(value).size());
    return status;
}

OSStatus AudioHardware::propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                     std::uint32_t& size, void* data) {
    PropertyValue value;
    const OSStatus status = _objects->read(object, address, value);
    return status == kNoError ? copyValue(value, size, data) : status;
}

OSStatus AudioHardware::addListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                    AudioObjectPropertyListenerProc listener, void* clientData) {
    if (listener == nullptr) return kAudioHardwareIllegalOperationError;
    PropertyValue value;
    const OSStatus status = _objects->read(object, address, value);
    if (status == kNoError) _objects->listeners().add({object, address, listener, clientData});
    return status;
}

OSStatus AudioHardware::removeListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                       AudioObjectPropertyListenerProc listener, void* clientData) {
    const bool wasThere = _objects->listeners().remove({object, address, listener, clientData});
    return wasThere ? kNoError : kAudioHardwareIllegalOperationError;
}

std::optional<OutputDeviceController::Choice> AudioHardware::choice(AudioObjectID object) {
    return _objects->choice(object);
}

OSStatus AudioObjectGetPropertyDataSize(AudioHardware& hardware, AudioObjectID object,
                                        const AudioObjectPropertyAddress& address, std::uint32_t& size) {
    return hardware.propertyDataSize(object, address, size);
}

OSStatus AudioObjectGetPropertyData(AudioHardware& hardware, AudioObjectID object,
                                    const AudioObjectPropertyAddress& address, std::uint32_t& size, void* data) {
    return hardware.propertyData(object, address, size, data);
}

OSStatus AudioObjectAddPropertyListener(AudioHardware& hardware, AudioObjectID object,
                                        const AudioObjectPropertyAddress& address,
                                        AudioObjectPropertyListenerProc listener, void* clientData) {
    return hardware.addListener(object, address, listener, clientData);
}

OSStatus AudioObjectRemovePropertyListener(AudioHardware& hardware, AudioObjectID object,
                                           const AudioObjectPropertyAddress& address,
                                           AudioObjectPropertyListenerProc listener, void* clientData) {
    return hardware.removeListener(object, address, listener, clientData);
}

}  // namespace zelvane
