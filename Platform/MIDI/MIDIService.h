// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/RunLoop.h"
#include "Platform/MIDI/MIDIBackEnd.h"
#include "Platform/MIDI/MIDIObjects.h"
#include "Platform/MIDI/MIDIUniqueIDs.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zelvane {

/// The program's MIDI, over whichever back end is there. It keeps an object for each endpoint, finds devices again that
/// return, and tells its client when something changed. One at a time exists; the operations in MIDIServices.h are its
/// own. All of it is for the thread of its run loop, but for `send` and `received`.
class MIDIService final : public MIDIBackEndListener {
  public:
    /// The first of the back ends that can be opened will be used, once a client asks. Notifications come on the run
    /// loop; the file keeps the endpoints' unique IDs.
    MIDIService(std::vector<std::unique_ptr<MIDIBackEnd>> backEnds, RunLoop& runLoop,
                const std::filesystem::path& uniqueIDFile);
    ~MIDIService() override;
    MIDIService(const MIDIService&) = delete;
    MIDIService& operator=(const MIDIService&) = delete;

    /// The one that exists, or null.
    static MIDIService* current();

    /// The name of the back end in use; empty while there is none.
    std::string_view backEndName() const { return _backEnd != nullptr ? _backEnd->name() : std::string_view(); }

    OSStatus createClient(MIDINotifyProc notify, void* context, MIDIObjectRef& client);
    void disposeClient(MIDIObjectRef client);

    const std::vector<MIDIObjectRef>& endpoints(MIDIDirection direction) const { return _listed[index(direction)]; }

    OSStatus createPort(MIDIObjectRef client, MIDIReadProc read, void* context, MIDIObjectRef& port);
    OSStatus connect(MIDIObjectRef port, MIDIObjectRef source, void* sourceContext);
    OSStatus disconnect(MIDIObjectRef port, MIDIObjectRef source);
    OSStatus disposePort(MIDIObjectRef port);

    OSStatus createVirtual(MIDIObjectRef client, MIDIDirection direction, const std::string& name, MIDIReadProc read,
                           void* context, MIDIObjectRef& endpoint);
    OSStatus disposeVirtual(MIDIObjectRef endpoint);

    /// Any thread but the audio thread.
    OSStatus send(MIDIObjectRef destination, MIDIPacketList packets);
    OSStatus emit(MIDIObjectRef source, MIDIPacketList packets);

    template <typename Value>
    OSStatus property(MIDIObjectRef object, std::string_view name, Value& value) {
        const std::lock_guard lock(_objectsMutex);
        return _objects.property(object, name, value);
    }
    OSStatus setProperty(MIDIObjectRef object, std::string_view name, const MIDIPropertyValue& value);
    OSStatus findByUniqueID(std::int32_t id, MIDIObjectRef& object, MIDIObjectType& type);
    OSStatus owner(MIDIObjectRef object, MIDIObjectRef& owner);
    OSStatus createExternalDevice(const std::string& name, MIDIObjectRef& device);

    void setupChanged() override;
    void received(MIDILineID line, MIDIPacketList packets) override;

  private:
    /// Where what comes over a line goes.
    struct Reader {
        MIDIReadProc read = nullptr;
        void* context = nullptr;
        void* sourceContext = nullptr;
    };
    struct Connection {
        MIDIObjectRef port = 0;
        MIDIObjectRef source = 0;
        MIDILineID line = 0;
    };
    /// An endpoint of others: how to reach it, and by which key its unique ID is kept.
    struct External {
        MIDIPortDescription description;
        MIDIObjectRef endpoint = 0;
    };

    static std::size_t index(MIDIDirection direction) { return direction == MIDIDirection::source ? 0 : 1; }

    bool openBackEnd();
    void rescan();
    void tellOfChange();
    MIDIObjectRef keepOrAdd(const MIDIPortDescription& description, std::vector<External>& kept);
    MIDIObjectRef addExternal(const MIDIPortDescription& description);
    void describe(MIDIObjectRef endpoint, const MIDIPortDescription& description);
    MIDIObjectRef addDevice(const MIDIPortDescription& description);
    void markOffline(const External& gone);
    OSStatus setUniqueID(MIDIObjectRef object, std::int32_t id);
    OSStatus closeWhere(const std::function<bool(const Connection&)>& isMeant);
    MIDILineID addReader(const Reader& reader);
    void closeLine(MIDILineID line);

    std::vector<std::unique_ptr<MIDIBackEnd>> _candidates;
    std::unique_ptr<MIDIBackEnd> _backEnd;
    RunLoop& _runLoop;
    MIDIUniqueIDs _uniqueIDs;

    MIDIObjectRef _client = 0;
    MIDINotifyProc _notify = nullptr;
    void* _notifyContext = nullptr;

    std::mutex _objectsMutex;  // guards the objects, the externals and the lines of virtual endpoints
    MIDIObjects _objects;
    std::vector<External> _externals;
    std::map<MIDIObjectRef, MIDILineID> _virtualLines;
    std::map<MIDIObjectRef, Reader> _ports;
    std::vector<Connection> _connections;
    std::vector<MIDIObjectRef> _listed[2];  // as of the last scan, in the back end's order

    std::mutex _readersMutex;  // guards the readers; never held while one is called
    std::map<MIDILineID, Reader> _readers;
    MIDILineID _lastLine = 0;

    std::atomic<bool> _isChangePending{false};  // set by threads of the back end, cleared by the run loop
    std::shared_ptr<int> _life = std::make_shared<int>(0);
};

}  // namespace zelvane
