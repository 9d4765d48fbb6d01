// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Units/NativeEditor.h"
#include "Platform/Audio/Units/UnitParameter.h"
#include "Platform/Audio/Units/UnitProperty.h"
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/PropertyList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelvane {

/// A MIDI message for an instrument, `offset` frames after the first frame of the block at hand.
struct TimedMIDI {
    std::uint32_t offset = 0;
    std::uint8_t status = 0;
    std::uint8_t data1 = 0;
    std::uint8_t data2 = 0;
};

/// What an instrument did with a block.
struct RenderResult {
    std::size_t eventsTaken = 0;  ///< how many of the events, from the first; the others are handed in again
    bool isSilent = true;         ///< the buffers were left alone: nothing sounds
};

/// One instance of an instrument of some format, as its format's adapter offers it to `AudioUnit`.
class Instrument {
  public:
    virtual ~Instrument() = default;

    /// Makes ready to render at that rate, in blocks of at most `maxFrames`, keeping the state that MIDI messages made.
    /// Control threads, never while rendering; again when the rate changes. 0 or a failure.
    virtual OSStatus prepare(double sampleRate, std::uint32_t maxFrames) = 0;

    /// Ends all sound at once, keeping controllers, programs and bends. Never while rendering, except by the audio
    /// thread itself. Real-time safe.
    virtual void silence() noexcept = 0;

    /// The parameters, fixed from construction on; a parameter's place in the list is not its ID. Any thread.
    virtual std::span<const UnitParameter> parameters() const = 0;

    /// The properties of this format beyond those that every unit has, fixed from construction on. Their functions are
    /// called on control threads, also while rendering. Any thread.
    virtual std::span<const UnitProperty> properties() const = 0;

    /// The component's configuration dictionary, with "HasCustomView", or none. Any thread.
    virtual std::optional<PropertyList::Dictionary> configurationInfo() const { return std::nullopt; }

    /// Takes what is to be called, on any control thread, when the instrument changes one of its properties by itself;
    /// null ends that, and when this returns no call is under way. Control threads.
    virtual void setPropertyHandler(const std::function<void(AudioUnitPropertyID)>& /*handler*/) {}

    /// Whether it brings an editor of its own for a window of an X server, and that editor; null, with the reason, when
    /// it won't open. One at a time. Main thread.
    virtual bool hasNativeEditor() { return false; }
    virtual std::unique_ptr<NativeEditor> openNativeEditor(const NativeEditor::Host& /*host*/, Error& /*error*/) {
        return nullptr;
    }

    /// A parameter's value where the instrument itself may change it, as restored settings do; none where only
    /// `setParameter` does. Any thread.
    virtual std::optional<float> parameterValue(std::size_t /*index*/) const noexcept { return std::nullopt; }

    /// Time from an event to its sound beyond its offset, and how long sound goes on after the last event. Control
    /// threads.
    virtual double latencySeconds() const { return 0; }
    virtual double tailSeconds() const { return 0; }

    /// How many frames beyond the end of a block it wants to see events of, because it rounds them to a grid. Real-time
    /// safe.
    virtual std::uint32_t lookahead() const noexcept { return 0; }

    /// A new value for the parameter at that place of the list. Audio thread, real-time safe, before `render`.
    virtual void setParameter(std::size_t index, float value) noexcept = 0;

    /// Replaces the contents of both buffers by `frames` frames, unless it is silent. The events come in order of their
    /// offsets, which may lie up to `lookahead` frames beyond the block. Audio thread, real-time safe.
    virtual RenderResult render(std::span<const TimedMIDI> events, float* left, float* right,
                                std::uint32_t frames) noexcept = 0;
};

}  // namespace zelvane
