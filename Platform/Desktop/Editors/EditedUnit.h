// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Audio/Units/PropertyReference.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace zelvane {

/// A unit as its editor sees it. What is edited goes to it as a user's edit, so that others who listen hear of it; what
/// else changes its values (presets, restored settings, another editor, the instrument itself) tells nobody, so that
/// the editor looks for it. It keeps the unit: editors end before what they edit. Main thread.
class EditedUnit {
  public:
    explicit EditedUnit(std::shared_ptr<AVAudioUnit> node);

    AVAudioUnit& node() const { return *_node; }
    AudioUnit* unit() const { return _node->audioUnit(); }
    /// A parameter's place in this list is what stands for it below.
    std::span<const UnitParameter> parameters() const { return _node->audioUnit()->instrument().parameters(); }

    float value(std::size_t place) const;
    /// Sets the parameter to what its control shows: `look` says nothing of it, unless the unit made it another value.
    void edit(std::size_t place, float value);
    /// Calls with each parameter, and its value, that has changed since the last look.
    template <typename Changed>
    void look(const Changed& changed) {
        for (std::size_t place = 0; place < _seen.size(); ++place) {
            const float present = value(place);
            if (present == _seen[place]) continue;
            _seen[place] = present;
            changed(place, present);
        }
    }

    /// None where the unit has no such property of that size.
    template <typename Value>
    std::optional<Value> property(AudioUnitPropertyID id) const {
        Value value{};
        std::uint32_t size = sizeof value;
        const OSStatus status = AudioUnitGetProperty(unit(), id, kAudioUnitScope_Global, 0, &value, &size);
        return status == kNoError && size == sizeof value ? std::optional(value) : std::nullopt;
    }
    template <typename Value>
    bool setProperty(AudioUnitPropertyID id, const Value& value) {
        return AudioUnitSetProperty(unit(), id, kAudioUnitScope_Global, 0, &value, sizeof value) == kNoError;
    }
    /// Properties that refer to an object.
    std::optional<PropertyList> object(AudioUnitPropertyID id) const;
    bool setObject(AudioUnitPropertyID id, const PropertyList& object);

  private:
    const std::shared_ptr<AVAudioUnit> _node;
    std::vector<float> _seen;  // by place
};

}  // namespace zelvane
