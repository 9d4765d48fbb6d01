// SPDX-License-Identifier: GPL-3.0-or-later
#include "PYMIDI/PYMIDIManager.h"

#include "PYMIDI/PYMIDIEndpointSet.h"
#include "PYMIDI/PYMIDIUtils.h"
#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/Text.h"
#include "Platform/MIDI/MIDIServices.h"

#include <algorithm>
#include <array>

namespace zelvane {

namespace {

std::unique_ptr<PYMIDIManager> theManager;

// Posting can lead to further notifications on the same thread.
bool isBusy = false;
bool isPending = false;

void midiNotifyProc(const MIDINotification& message, void* context) {
    static_cast<PYMIDIManager*>(context)->processMIDINotification(message);
}

template <typename Endpoint>
void sortByDisplayName(std::vector<std::shared_ptr<Endpoint>>& array) {
    std::ranges::stable_sort(array, [](const auto& a, const auto& b) { return a->compareByDisplayName(*b); });
}

template <typename Endpoint>
std::shared_ptr<Endpoint> withReference(const std::vector<std::shared_ptr<Endpoint>>& array, MIDIObjectRef ref) {
    const auto found = std::ranges::find_if(array, [&](const auto& each) { return each->midiEndpointRef() == ref; });
    return found != array.end() ? *found : nullptr;
}

/// Endpoints are never taken out: one that disappears stays, offline.
template <typename Endpoint>
void update(std::vector<std::shared_ptr<Endpoint>>& array, std::size_t count,
            MIDIObjectRef (*endpointAt)(std::size_t)) {
    for (const auto& endpoint : array) endpoint->syncWithMIDIEndpoint();
    for (std::size_t index = 0; index < count; ++index) {
        const MIDIObjectRef ref = endpointAt(index);
        if (PYMIDIIsEndpointLocalVirtual(ref) || withReference(array, ref) != nullptr) continue;
        array.push_back(std::make_shared<Endpoint>(ref));
    }
    sortByDisplayName(array);
}

template <typename Endpoint>
std::shared_ptr<Endpoint> withDescriptor(std::vector<std::shared_ptr<Endpoint>>& array,
                                         const PYMIDIEndpointDescriptor& descriptor) {
    const auto found = PYMIDIEndpointSet::newEndpointSetWithArray(array).endpointWithDescriptor(descriptor);
    if (found != nullptr) return std::static_pointer_cast<Endpoint>(found);
    auto endpoint = std::make_shared<Endpoint>(descriptor);
    array.push_back(endpoint);
    sortByDisplayName(array);
    return endpoint;
}

}  // namespace

PYMIDIManager* PYMIDIManager::sharedInstance() {
    if (theManager != nullptr) return theManager.get();
    std::unique_ptr<PYMIDIManager> manager(new PYMIDIManager);
    if (manager->init()) theManager = std::move(manager);
    return theManager.get();
}

void PYMIDIManager::releaseSharedInstance() {
    theManager.reset();
    isBusy = false;
    isPending = false;
}

bool PYMIDIManager::init() {
    if (MIDIClientCreate("PYMIDIManager", midiNotifyProc, this, &_midiClientRef) != kNoError) return false;
    updateRealSources();
    updateRealDestinations();
    buildNoteNamesArray();
    enableNotifications();
    return true;
}

PYMIDIManager::~PYMIDIManager() {
    _realSourceArray.clear();
    _realDestinationArray.clear();
    MIDIClientDispose(_midiClientRef);
}

// A notification of another kind leaves the manager busy for good: from then on the lists are no longer refreshed.
void PYMIDIManager::processMIDINotification(const MIDINotification& message) {
    if (isBusy) {
        isPending = true;
        return;
    }
    do {
        isBusy = true;
        isPending = false;
        if (message.messageID != kMIDIMsgSetupChanged) return;
        if (_notificationsEnabled) {
            updateRealSources();
            updateRealDestinations();
            NotificationCenter::defaultCenter().post(kPYMIDISetupChanged, this);
        }
        isBusy = false;
    } while (isPending && _notificationsEnabled);
}

void PYMIDIManager::updateRealSources() {
    update(_realSourceArray, MIDIGetNumberOfSources(), MIDIGetSource);
}

void PYMIDIManager::updateRealDestinations() {
    update(_realDestinationArray, MIDIGetNumberOfDestinations(), MIDIGetDestination);
}

PYMIDIManager::Sources PYMIDIManager::realSourcesOnlineOrInUse() const {
    return filteredArrayUsingSelector<PYMIDIRealSource>(_realSourceArray, &PYMIDIRealSource::isOnlineOrInUse);
}

PYMIDIManager::Destinations PYMIDIManager::realDestinationsOnlineOrInUse() const {
    return filteredArrayUsingSelector<PYMIDIRealDestination>(_realDestinationArray,
                                                             &PYMIDIRealDestination::isOnlineOrInUse);
}

std::shared_ptr<PYMIDIRealSource> PYMIDIManager::realSourceWithMIDIEndpointRef(MIDIObjectRef ref) const {
    return withReference(_realSourceArray, ref);
}

std::shared_ptr<PYMIDIRealDestination> PYMIDIManager::realDestinationWithMIDIEndpointRef(MIDIObjectRef ref) const {
    return withReference(_realDestinationArray, ref);
}

std::shared_ptr<PYMIDIRealSource> PYMIDIManager::realSourceWithDescriptor(const PYMIDIEndpointDescriptor& descriptor) {
    return withDescriptor(_realSourceArray, descriptor);
}

std::shared_ptr<PYMIDIRealDestination> PYMIDIManager::realDestinationWithDescriptor(
    const PYMIDIEndpointDescriptor& descriptor) {
    return withDescriptor(_realDestinationArray, descriptor);
}

void PYMIDIManager::buildNoteNamesArray() {
    static constexpr std::array kNames{"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    for (std::size_t note = 0; note < 128; ++note) {
        const int octave = static_cast<int>(note / kNames.size()) - 1;
        _noteNamesArray.push_back(formatted("%s%d", {kNames.at(note % kNames.size()), std::to_string(octave)}));
    }
}

const std::string& PYMIDIManager::nameOfNote(std::uint32_t note) const {
    if (note >= _noteNamesArray.size()) throw RangeError(formatted("there is no note %u", {std::to_string(note)}));
    return _noteNamesArray[note];
}

PYMIDINotificationPause::PYMIDINotificationPause() {
    if (theManager != nullptr) theManager->disableNotifications();
}

PYMIDINotificationPause::~PYMIDINotificationPause() {
    if (theManager != nullptr) theManager->enableNotifications();
}

}  // namespace zelvane
