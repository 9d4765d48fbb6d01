// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MIDIService.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zelvane {

namespace {

/// A device that is plugged in announces itself in several steps.
constexpr Duration kSettling = std::chrono::milliseconds(75);

/// Systems tend to name a port after its device once more: the user reads both names in a row.
std::string nameWithinDevice(const MIDIPortDescription& port) {
    const std::string prefix = port.deviceName + " ";
    const bool isLonger = port.name.starts_with(prefix) && port.name.size() > prefix.size();
    return isLonger && !port.deviceName.empty() ? port.name.substr(prefix.size()) : port.name;
}

std::atomic<MIDIService*> theService{nullptr};  // written by the thread that makes and ends it, read by any

}  // namespace

MIDIService::MIDIService(std::vector<std::unique_ptr<MIDIBackEnd>> backEnds, RunLoop& runLoop,
                         const std::filesystem::path& uniqueIDFile)
    : _candidates(std::move(backEnds)), _runLoop(runLoop), _uniqueIDs(uniqueIDFile) {
    theService = this;
}

MIDIService::~MIDIService() {
    _life.reset();
    _backEnd.reset();
    theService = nullptr;
}

MIDIService* MIDIService::current() {
    return theService;
}

bool MIDIService::openBackEnd() {
    for (auto& candidate : _candidates) {
        Error error;
        if (_backEnd == nullptr && candidate->open(*this, error)) _backEnd = std::move(candidate);
    }
    std::erase(_candidates, nullptr);
    return _backEnd != nullptr;
}

OSStatus MIDIService::createClient(MIDINotifyProc notify, void* context, MIDIObjectRef& client) {
    if (_client != 0) return kMIDIInvalidClient;
    if (_backEnd == nullptr && !openBackEnd()) return kMIDIServerStartErr;
    rescan();
    const std::lock_guard lock(_objectsMutex);
    _client = client = _objects.add({});
    _notify = notify;
    _notifyContext = context;
    return kNoError;
}

void MIDIService::disposeClient(MIDIObjectRef client) {
    if (client == 0 || client != _client) return;
    const std::lock_guard lock(_objectsMutex);
    _objects.remove(std::exchange(_client, 0));
}

// Looking: what the back end finds becomes objects.

void MIDIService::setupChanged() {
    if (_isChangePending.exchange(true)) return;
    _runLoop.performAfter(kSettling, [this, life = std::weak_ptr(_life)] {
        if (!life.expired()) tellOfChange();
    });
}

void MIDIService::tellOfChange() {
    _isChangePending = false;
    rescan();
    if (_client != 0 && _notify != nullptr) _notify(MIDINotification{}, _notifyContext);
}

void MIDIService::rescan() {
    const auto ports = _backEnd->ports();
    const std::lock_guard lock(_objectsMutex);
    std::vector<External> kept;
    for (auto& listed : _listed) listed.clear();
    for (const MIDIPortDescription& port : ports) {
        _listed[index(port.direction)].push_back(keepOrAdd(port, kept));
    }
    for (const External& gone : _externals) markOffline(gone);
    _externals = std::move(kept);
    _uniqueIDs.save();
}

/// The endpoint of a port, moved from the former list to the one that is kept.
MIDIObjectRef MIDIService::keepOrAdd(const MIDIPortDescription& description, std::vector<External>& kept) {
    const auto known = std::ranges::find_if(_externals, [&](const External& each) {
        return each.description.address == description.address && each.description.direction == description.direction;
    });
    if (known == _externals.end()) {
        kept.push_back({description, addExternal(description)});
    } else {
        if (known->description != description) describe(known->endpoint, description);
        kept.push_back({description, known->endpoint});
        _externals.erase(known);
    }
    return kept.back().endpoint;
}

MIDIObjectRef MIDIService::addExternal(const MIDIPortDescription& description) {
    const bool isSource = description.direction == MIDIDirection::source;
    const MIDIObjectRef device = addDevice(description);
    const MIDIObjectRef entity = _objects.add({MIDIObjectType::entity, device, {}});
    const MIDIObjectRef endpoint =
        _objects.add({isSource ? MIDIObjectType::source : MIDIObjectType::destination, entity, {}});
    _objects.setProperty(endpoint, kMIDIPropertyOffline, 0);
    describe(endpoint, description);
    return endpoint;
}

MIDIObjectRef MIDIService::addDevice(const MIDIPortDescription& description) {
    const MIDIObjectRef device = _objects.add({MIDIObjectType::device, 0, {}});
    _objects.setProperty(device, kMIDIPropertyName, description.deviceName);
    if (!description.driver.empty()) _objects.setProperty(device, kMIDIPropertyDriverOwner, description.driver);
    return device;
}

void MIDIService::describe(MIDIObjectRef endpoint, const MIDIPortDescription& description) {
    const char* side = description.direction == MIDIDirection::source ? "source:" : "destination:";
    _objects.setProperty(endpoint, kMIDIPropertyName, nameWithinDevice(description));
    _objects.setProperty(endpoint, kMIDIPropertyUniqueID, _uniqueIDs.idOf(side + description.key));
    const MIDIObject* entity = _objects.find(_objects.find(endpoint)->owner);
    _objects.setProperty(entity->owner, kMIDIPropertyName, description.deviceName);
}

/// It stays an object: whoever still refers to it can see what became of it.
void MIDIService::markOffline(const External& gone) {
    _objects.setProperty(gone.endpoint, kMIDIPropertyOffline, 1);
}

// Properties.

OSStatus MIDIService::setProperty(MIDIObjectRef object, std::string_view name, const MIDIPropertyValue& value) {
    if (name == kMIDIPropertyUniqueID) {
        const auto* id = std::get_if<std::int32_t>(&value);
        return id != nullptr ? setUniqueID(object, *id) : kMIDIWrongPropertyType;
    }
    std::optional<MIDILineID> line;
    {
        const std::lock_guard lock(_objectsMutex);
        if (const OSStatus status = _objects.setProperty(object, name, value); status != kNoError) return status;
        const auto known = _virtualLines.find(object);
        if (known != _virtualLines.end()) line = known->second;
    }
    const auto* text = std::get_if<std::string>(&value);
    if (line && text != nullptr && name == kMIDIPropertyName) _backEnd->renameVirtual(*line, *text);
    return kNoError;
}

OSStatus MIDIService::setUniqueID(MIDIObjectRef object, std::int32_t id) {
    const std::lock_guard lock(_objectsMutex);
    const MIDIObjectRef holder = _objects.findByUniqueID(id);
    if (id == 0 || (holder != 0 && holder != object)) return kMIDIIDNotUnique;
    const auto external = std::ranges::find(_externals, object, &External::endpoint);
    if (external != _externals.end()) {
        const char* side = external->description.direction == MIDIDirection::source ? "source:" : "destination:";
        if (!_uniqueIDs.setID(side + external->description.key, id)) return kMIDIIDNotUnique;
        _uniqueIDs.save();
    }
    return _objects.setProperty(object, kMIDIPropertyUniqueID, id);
}

OSStatus MIDIService::findByUniqueID(std::int32_t id, MIDIObjectRef& object, MIDIObjectType& type) {
    const std::lock_guard lock(_objectsMutex);
    const MIDIObjectRef found = _objects.findByUniqueID(id);
    if (found == 0) return kMIDIObjectNotFound;
    object = found;
    type = _objects.find(found)->type;
    return kNoError;
}

OSStatus MIDIService::createExternalDevice(const std::string& name, MIDIObjectRef& device) {
    const std::lock_guard lock(_objectsMutex);
    device = _objects.add({MIDIObjectType::externalDevice, 0, {}});
    _objects.setProperty(device, kMIDIPropertyName, name);
    return _objects.setProperty(device, kMIDIPropertyUniqueID, _uniqueIDs.idOf("external:" + name));
}

OSStatus MIDIService::owner(MIDIObjectRef object, MIDIObjectRef& owner) {
    const std::lock_guard lock(_objectsMutex);
    const MIDIObject* found = _objects.find(object);
    if (found == nullptr || found->owner == 0) return kMIDIObjectNotFound;
    owner = found->owner;
    return kNoError;
}

}  // namespace zelvane
