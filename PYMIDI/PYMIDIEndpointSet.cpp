// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIEndpointSet.h"

#include <algorithm>

namespace zelvane {

std::shared_ptr<PYMIDIEndpoint> PYMIDIEndpointSet::endpointWithDescriptor(
    const PYMIDIEndpointDescriptor& descriptor) const {
    const auto first = [this](auto isMeant) {
        const auto found = std::ranges::find_if(_endpointArray, isMeant);
        return found != _endpointArray.end() ? *found : nullptr;
    };
    const auto byID = first([&](const auto& each) { return each->uniqueID() == descriptor.uniqueID(); });
    if (byID != nullptr) return byID;
    return first([&](const auto& each) { return each->name() == descriptor.name(); });
}

std::shared_ptr<const Archivable> PYMIDIEndpointSet::willEncodeObject(std::shared_ptr<const Archivable> object) {
    const auto endpoint = std::ranges::find_if(_endpointArray, [&](const auto& each) { return each == object; });
    if (endpoint == _endpointArray.end()) return object;
    return std::make_shared<PYMIDIEndpointDescriptor>((*endpoint)->descriptor());
}

std::shared_ptr<Archivable> PYMIDIEndpointSet::didDecodeObject(std::shared_ptr<Archivable> object) {
    const auto* descriptor = dynamic_cast<const PYMIDIEndpointDescriptor*>(object.get());
    if (descriptor == nullptr) return object;
    return endpointWithDescriptor(*descriptor);
}

}  // namespace zelvane
