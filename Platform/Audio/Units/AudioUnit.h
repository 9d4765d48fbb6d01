// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Units/UnitParameter.h"
#include "Platform/Audio/Units/UnitParameterListeners.h"
#include "Platform/Audio/Units/UnitProperty.h"
#include "Platform/Audio/Units/UnitPropertyListeners.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

namespace zelvane {

/// Something with properties and parameters: an instrument's instance or the output. All operations are for control
/// threads unless they say otherwise; several may call at a time.
class AudioUnit {
  public:
    virtual ~AudioUnit() = default;
    AudioUnit(const AudioUnit&) = delete;
    AudioUnit& operator=(const AudioUnit&) = delete;

    /// False for an ID beyond those that it has; quick, since almost all of 32 bits are.
    bool mayHaveProperty(AudioUnitPropertyID id) const { return id <= _lastPropertyID; }
    OSStatus propertyInfo(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element, std::uint32_t& size,
                          bool& isWritable);
    /// Writes the value into the buffer and sets `size` to its length. A buffer that is too small is refused.
    OSStatus property(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                      std::span<std::byte> buffer, std::uint32_t& size);
    /// Tells the property's listeners when it was set.
    OSStatus setProperty(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                         std::span<const std::byte> value);
    /// Whether the property's value is a reference, of which a reader owns one count.
    bool propertyHoldsReference(AudioUnitPropertyID id) const;
    /// Tells the listeners of a property that the unit itself has changed.
    void propertyChanged(AudioUnitPropertyID id) { _propertyListeners.notify(*this, id, kAudioUnitScope_Global, 0); }

    UnitPropertyListeners& propertyListeners() { return _propertyListeners; }
    UnitParameterListeners& parameterListeners() { return _parameterListeners; }

    virtual OSStatus parameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                               float& value) = 0;
    virtual OSStatus setParameter(AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                                  float value) = 0;

    /// A MIDI message for now, in logical time, plus `sampleOffset` frames. Units that play no notes refuse it.
    virtual OSStatus midiEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                               std::uint32_t sampleOffset) = 0;

  protected:
    AudioUnit() = default;

    /// Adds properties; of two with one ID the first stays. In the constructor only.
    void addProperties(std::vector<UnitProperty> properties);

  private:
    const UnitProperty* propertyWithID(AudioUnitPropertyID id) const;
    OSStatus find(AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                  const UnitProperty*& property) const;

    std::vector<UnitProperty> _properties;    // sorted by ID, fixed after construction
    AudioUnitPropertyID _lastPropertyID = 0;  // fixed after construction
    std::mutex _propertyMutex;                // control threads against each other; never taken by the audio thread
    UnitPropertyListeners _propertyListeners;
    UnitParameterListeners _parameterListeners;
};

/// The platform's operations on a unit; a null unit is refused with `kAudio_ParamError`.
OSStatus AudioUnitGetPossiblePropertyInfo(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                          AudioUnitElement element, std::uint32_t* size, bool* isWritable);
inline OSStatus AudioUnitGetPropertyInfo(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope,
                                         AudioUnitElement element, std::uint32_t* size, bool* isWritable) {
    // Here, because all IDs of 32 bits may be asked for one after the other.
    if (unit != nullptr && !unit->mayHaveProperty(id)) return kAudioUnitErr_InvalidProperty;
    return AudioUnitGetPossiblePropertyInfo(unit, id, scope, element, size, isWritable);
}
OSStatus AudioUnitGetProperty(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                              void* value, std::uint32_t* size);
OSStatus AudioUnitSetProperty(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitScope scope, AudioUnitElement element,
                              const void* value, std::uint32_t size);
/// Fails for a property that the unit does not have.
OSStatus AudioUnitAddPropertyListener(AudioUnit* unit, AudioUnitPropertyID id, AudioUnitPropertyListenerProc procedure,
                                      void* userData);
/// Removes the listener as often as it was added; fails when it was not.
OSStatus AudioUnitRemovePropertyListenerWithUserData(AudioUnit* unit, AudioUnitPropertyID id,
                                                     AudioUnitPropertyListenerProc procedure, void* userData);
OSStatus AudioUnitGetParameter(AudioUnit* unit, AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                               float* value);
/// For programs: listeners to the parameter are not told, as `AUParameterSet` has them told.
OSStatus AudioUnitSetParameter(AudioUnit* unit, AudioUnitParameterID id, AudioUnitScope scope, AudioUnitElement element,
                               float value, std::uint32_t bufferOffset);
OSStatus MusicDeviceMIDIEvent(AudioUnit* unit, std::uint32_t status, std::uint32_t data1, std::uint32_t data2,
                              std::uint32_t sampleOffset);

}  // namespace zelvane
