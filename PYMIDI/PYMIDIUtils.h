// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/MIDI/MIDITypes.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// The integer property that marks an endpoint as a program's own: the process that made it.
inline constexpr const char* kPYMIDIPropertyOwnerPID = "PYMIDIOwnerPID";

/// The device's name and the endpoint's, unless the endpoint is named after its device; none when it has neither.
std::optional<std::string> PYMIDIGetEndpointName(MIDIObjectRef endpoint);

bool PYMIDIDoesSourceStillExist(MIDIObjectRef endpoint);
bool PYMIDIDoesDestinationStillExist(MIDIObjectRef endpoint);

/// 0 when there is none.
MIDIObjectRef PYMIDIGetSourceByUniqueID(std::int32_t uniqueID);
MIDIObjectRef PYMIDIGetDestinationByUniqueID(std::int32_t uniqueID);
MIDIObjectRef PYMIDIGetSourceByName(const std::string& name);
MIDIObjectRef PYMIDIGetDestinationByName(const std::string& name);

bool PYMIDIIsUniqueIDInUse(std::int32_t uniqueID);
/// One that is not in use.
std::int32_t PYMIDIAllocateUniqueID();

/// Whether the endpoint was made by this process.
bool PYMIDIIsEndpointLocalVirtual(MIDIObjectRef endpoint);

/// The elements for which the method says yes, in order.
template <typename Element>
std::vector<std::shared_ptr<Element>> filteredArrayUsingSelector(const std::vector<std::shared_ptr<Element>>& array,
                                                                 bool (Element::*selector)() const) {
    std::vector<std::shared_ptr<Element>> filtered;
    std::ranges::copy_if(array, std::back_inserter(filtered), [&](const auto& each) { return ((*each).*selector)(); });
    return filtered;
}

}  // namespace zelvane
