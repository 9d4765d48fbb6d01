// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIManager.h"
#include "PYMIDI/PYMIDIRealDestination.h"
#include "PYMIDI/PYMIDIRealSource.h"
#include "PYMIDI/PYMIDIVirtualSource.h"
#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"
#include "Sources/Zelvane/Zelvane.h"

#include <algorithm>
#include <utility>

namespace zelvane {

namespace {

constexpr const char* kVirtualInput = "Zelvane";

std::string displayNameOf(const std::shared_ptr<PYMIDIEndpoint>& endpoint) {
    return endpoint != nullptr ? endpoint->displayName() : "(null)";
}

std::shared_ptr<PYMIDIEndpoint> realSourceNamed(const std::string& name) {
    const auto& sources = PYMIDIManager::sharedInstance()->realSources();
    const auto found = std::ranges::find_if(sources, [&](const auto& each) { return each->displayName() == name; });
    return found != sources.end() ? *found : nullptr;
}

}  // namespace

void Zelvane::setUpMIDI() {
    _midiEnable = PYMIDIManager::sharedInstance() != nullptr;
    if (_midiEnable) {
        _virtualMidiInput = PYMIDIVirtualDestination::initWithName(kVirtualInput);
        return;
    }
    Log::write("Zelvane: [%@] unable to initialize MIDI, all MIDI functions are disabled.", {"initWithThread:"});
    presentErrorWaiting(_application,
                        {"MIDIConfiguration", 1,
                         localizedString("Sorry, unable to initialize MIDI. All MIDI functions are disabled.")});
}

void Zelvane::restoreMidiInput() {
    const auto archived = _defaults.object("midiEndpoint");
    const auto* data = archived ? std::get_if<PropertyList::Data>(&archived->value) : nullptr;
    const auto name = _defaults.string("midi");
    if (data != nullptr) {
        setMidiInput(decodeMidiEndpoint(*data));
    } else if (name && *name != kVirtualInput) {
        setMidiInputByName(*name);
    } else {
        setMidiInput(_virtualMidiInput);
    }
}

void Zelvane::setMidiInput(std::shared_ptr<PYMIDIEndpoint> endpoint) {
    if (!_midiEnable) return;
    if (_midiInput != nullptr) _midiInput->removeReceiver(*_midiDecoder);
    _midiInput = std::move(endpoint);
    if (_midiInput != nullptr) _midiInput->addReceiver(*_midiDecoder);
}

void Zelvane::setMidiInputByName(const std::string& name) {
    if (!_midiEnable) return;
    if (_virtualMidiInput != nullptr && _virtualMidiInput->displayName() == name)
        return setMidiInput(_virtualMidiInput);
    if (auto source = realSourceNamed(name)) return setMidiInput(std::move(source));
    const std::string current = displayNameOf(_midiInput);
    Log::write("Zelvane: [%@] unable to find MIDI Input %@, using %@ instead", {"setMidiInputByName:", name, current});
    presentErrorWaiting(
        _application,
        {"MIDIConfiguration", 2,
         formatted(localizedString("Sorry, unable to find MIDI Input %@, using %@ instead"), {name, current})});
    if (_midiInput != nullptr) {
        _defaults.set("midi", {current});
    } else {
        _defaults.remove("midi");
    }
}

PropertyList::Data Zelvane::encodeMidiEndpoint(const std::shared_ptr<PYMIDIEndpoint>& endpoint) {
    return KeyedArchiver::archivedData(endpoint);
}

std::shared_ptr<PYMIDIEndpoint> Zelvane::decodeMidiEndpoint(const PropertyList::Data& data) {
    const KeyedUnarchiver::Classes classes{
        {PYMIDIRealSource::kClassName, PYMIDIRealSource::initWithCoder},
        {PYMIDIRealDestination::kClassName, PYMIDIRealDestination::initWithCoder},
        {PYMIDIVirtualSource::kClassName, PYMIDIVirtualSource::initWithCoder},
        {PYMIDIVirtualDestination::kClassName, PYMIDIVirtualDestination::initWithCoder},
    };
    return std::dynamic_pointer_cast<PYMIDIEndpoint>(KeyedUnarchiver::unarchivedObject(data, classes));
}

// The decoder stays their receiver, but nothing comes from them any more.
Zelvane::~Zelvane() {
    if (_midiInput != nullptr) _midiInput->stopIO();
    if (_virtualMidiInput != nullptr) _virtualMidiInput->stopIO();
}

}  // namespace zelvane
