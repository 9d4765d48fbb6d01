// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/EditedUnit.h"

#include "Platform/Audio/Units/AUListener.h"

#include <utility>

namespace zelvane {

EditedUnit::EditedUnit(std::shared_ptr<AVAudioUnit> node) : _node(std::move(node)), _seen(parameters().size()) {
    for (std::size_t place = 0; place < _seen.size(); ++place) _seen[place] = value(place);
}

float EditedUnit::value(std::size_t place) const {
    float value = 0;
    AudioUnitGetParameter(unit(), parameters()[place].id, kAudioUnitScope_Global, 0, &value);
    return value;
}

void EditedUnit::edit(std::size_t place, float value) {
    AUParameterSet(nullptr, nullptr, {unit(), parameters()[place].id, kAudioUnitScope_Global, 0}, value, 0);
    _seen[place] = value;
}

std::optional<PropertyList> EditedUnit::object(AudioUnitPropertyID id) const {
    const auto reference = property<PropertyReference>(id);
    if (!reference) return std::nullopt;
    const auto object = propertyObject(*reference);
    std::optional<PropertyList> copy;
    if (object != nullptr) copy = *object;
    releaseProperty(*reference);
    return copy;
}

bool EditedUnit::setObject(AudioUnitPropertyID id, const PropertyList& object) {
    const PropertyReference reference = retainProperty(object);
    const bool isSet = setProperty(id, reference);
    releaseProperty(reference);
    return isSet;
}

}  // namespace zelvane
