// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Devices/OutputDeviceController.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zelvane {

/// Number of the system or of a device; a device keeps its number for the life of the program, also while it is away.
using AudioObjectID = std::uint32_t;
inline constexpr AudioObjectID kAudioObjectSystemObject = 1;

struct AudioObjectPropertyAddress {
    std::uint32_t mSelector = 0;
    std::uint32_t mScope = 0;
    std::uint32_t mElement = 0;

    bool operator==(const AudioObjectPropertyAddress&) const = default;
};

inline constexpr std::uint32_t kAudioHardwarePropertyDevices = 0x64657623;              // 'dev#'
inline constexpr std::uint32_t kAudioHardwarePropertyDefaultOutputDevice = 0x644F7574;  // 'dOut'
inline constexpr std::uint32_t kAudioDevicePropertyDeviceName = 0x6E616D65;             // 'name'
inline constexpr std::uint32_t kAudioDevicePropertyStreams = 0x73746D23;                // 'stm#'
inline constexpr std::uint32_t kAudioDevicePropertyBufferFrameSize = 0x6673697A;        // 'fsiz'
inline constexpr std::uint32_t kAudioStreamPropertyPhysicalFormat = 0x70667420;         // 'pft '
inline constexpr std::uint32_t kAudioObjectPropertyScopeGlobal = 0x676C6F62;            // 'glob'
inline constexpr std::uint32_t kAudioDevicePropertyScopeOutput = 0x6F757470;            // 'outp'
inline constexpr std::uint32_t kAudioDevicePropertyScopeInput = 0x696E7074;             // 'inpt'

/// Told when a watched property of an object changed. Called on a thread of the hardware's.
using AudioObjectPropertyListenerProc = OSStatus (*)(AudioObjectID object, std::uint32_t count,
                                                     const AudioObjectPropertyAddress* addresses, void* clientData);

/// The output devices as numbered objects with properties. Any thread but the audio thread.
class AudioHardware {
  public:
    explicit AudioHardware(OutputDeviceController& controller);
    ~AudioHardware();

    OSStatus propertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address, std::uint32_t& size);
    /// Writes at most `size` bytes and sets it to what was written. A name that does not fit is cut at a character.
    OSStatus propertyData(AudioObjectID object, const AudioObjectPropertyAddress& address, std::uint32_t& size,
                          void* data);
    OSStatus addListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                         AudioObjectPropertyListenerProc listener, void* clientData);
    OSStatus removeListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                            AudioObjectPropertyListenerProc listener, void* clientData);

    /// The device behind a number; none for the system, 0 and unknown numbers.
    std::optional<OutputDeviceController::Choice> choice(AudioObjectID object);

  private:
    class Objects;
    std::unique_ptr<Objects> _objects;
};

OSStatus AudioObjectGetPropertyDataSize(AudioHardware& hardware, AudioObjectID object,
                                        const AudioObjectPropertyAddress& address, std::uint32_t& size);
OSStatus AudioObjectGetPropertyData(AudioHardware& hardware, AudioObjectID object,
                                    const AudioObjectPropertyAddress& address, std::uint32_t& size, void* data);
OSStatus AudioObjectAddPropertyListener(AudioHardware& hardware, AudioObjectID object,
                                        const AudioObjectPropertyAddress& address,
                                        AudioObjectPropertyListenerProc listener, void* clientData);
OSStatus AudioObjectRemovePropertyListener(AudioHardware& hardware, AudioObjectID object,
                                           const AudioObjectPropertyAddress& address,
                                           AudioObjectPropertyListenerProc listener, void* clientData);

}  // namespace zelvane
