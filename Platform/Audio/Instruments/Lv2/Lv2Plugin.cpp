// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Plugin.h"

#include "Platform/Audio/Instruments/Lv2/Lv2FeatureNames.h"
#include "Platform/Foundation/LocalizedString.h"

#include <algorithm>

namespace zelvane {

namespace {

using Kind = Lv2Port::Kind;

bool hasPort(const Lv2Plugin& plugin, Kind kind, bool isInput) {
    return std::any_of(plugin.ports.begin(), plugin.ports.end(),
                       [&](const Lv2Port& port) { return port.kind == kind && port.isInput == isInput; });
}

bool takesMIDI(const Lv2Plugin& plugin) {
    return std::any_of(plugin.ports.begin(), plugin.ports.end(),
                       [](const Lv2Port& port) { return port.isInput && port.takesMIDI; });
}

const std::string* unsupportedFeature(const Lv2Plugin& plugin) {
    const auto place = std::find_if_not(plugin.requiredFeatures.begin(), plugin.requiredFeatures.end(), isLv2Feature);
    return place == plugin.requiredFeatures.end() ? nullptr : &*place;
}

bool hasPortThatCannotBeConnected(const Lv2Plugin& plugin) {
    return std::any_of(plugin.ports.begin(), plugin.ports.end(),
                       [](const Lv2Port& port) { return port.kind == Kind::unknown && !port.mayStayOpen; });
}

}  // namespace

bool Lv2Plugin::isInstrument() const {
    if (!hasPort(*this, Kind::audio, false)) return isOfInstrumentClass;
    return isOfInstrumentClass || (takesMIDI(*this) && !hasPort(*this, Kind::audio, true));
}

std::string Lv2Plugin::whyNotPlayable() const {
    if (name.empty() || binary.empty() || ports.empty()) return localizedString("Its description is damaged.");
    if (hasPort(*this, Kind::event, true) || hasPort(*this, Kind::event, false))
        return localizedString("It has event ports of the old kind.");
    if (const std::string* feature = unsupportedFeature(*this))
        return localizedString("It requires what is not offered here: ") + *feature;
    if (midiInput() == nullptr) return localizedString("It takes no MIDI.");
    if (!hasPort(*this, Kind::audio, false)) return localizedString("It has no audio output.");
    if (hasPortThatCannotBeConnected(*this)) return localizedString("It has a port of an unknown kind.");
    return {};
}

const Lv2Port* Lv2Plugin::midiInput() const {
    const Lv2Port* first = nullptr;
    for (const Lv2Port& port : ports) {
        if (!port.isInput || port.kind != Kind::atom || !port.takesMIDI) continue;
        if (port.isMainControl) return &port;
        if (first == nullptr) first = &port;
    }
    return first;
}

}  // namespace zelvane
