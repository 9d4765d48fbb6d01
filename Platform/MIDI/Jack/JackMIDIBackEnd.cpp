// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Jack/JackMIDIBackEnd.h"

#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Thread.h"
#include "Platform/Jack/ScopedBrokenPipeBlock.h"
#include "Platform/MIDI/Jack/JackMIDISwitchboard.h"

#include <utility>

namespace zelvane {

namespace {

constexpr Duration kKeepInterval = std::chrono::milliseconds(500);

}  // namespace

JackMIDIBackEnd::JackMIDIBackEnd(JackPresence presence)
    : _presence(std::move(presence)),
      _libraries(std::make_unique<JackLibraries>()),
      _queues(std::make_unique<JackMIDIQueues>()),
      _switchboard(std::make_unique<JackMIDISwitchboard>(*_queues)),
      _reader(std::make_unique<JackMIDIReader>(*_queues, [this] { return _switchboard->collectChanges(); })) {}

JackMIDIBackEnd::~JackMIDIBackEnd() {
    _isStopping.store(true, std::memory_order_relaxed);
    _keeperWakeUp.post();
    if (_keeper.joinable()) _keeper.join();
    _reader->stop();
}

bool JackMIDIBackEnd::open(MIDIBackEndListener& listener, Error& error) {
    if (!openClient()) {
        error = {"MIDIBackEnd", 1, "no JACK server is running"};
        return false;
    }
    _reader->start(listener);
    _keeper = startThread("JACK MIDI keep", ThreadRole::ordinary, [this] { keepClient(); });
    return true;
}

bool JackMIDIBackEnd::openClient() {
    auto client = JackMIDIClient::open(*_libraries, _presence, *_queues, _keeperWakeUp);
    if (!client) return false;
    _switchboard->setClient(std::move(client));
    return true;
}

void JackMIDIBackEnd::keepClient() {
    const ScopedBrokenPipeBlock block;
    while (!_isStopping.load(std::memory_order_relaxed)) {
        _switchboard->takeDeadClient().reset();
        if (!_switchboard->hasClient()) openClient();
        _switchboard->upkeep();
        reportLosses();
        _keeperWakeUp.wait(kKeepInterval);
    }
}

void JackMIDIBackEnd::reportLosses() {
    const std::uint64_t in = _queues->input.takeLost();
    const std::uint64_t out = _queues->output.takeLost();
    const std::uint64_t inPorts = _queues->lostInPorts.exchange(0);
    const auto report = [](const char* pattern, std::uint64_t count) {
        if (count > 0) Log::write(pattern, {"reportLosses", std::to_string(count)});
    };
    report("JackMIDIBackEnd: [%@] %@ messages came faster than they could be taken, and are lost", in);
    report("JackMIDIBackEnd: [%@] %@ messages were sent faster than JACK takes them, and are lost", out);
    report("JackMIDIBackEnd: [%@] %@ messages found no room in a port of JACK's, and are lost", inPorts);
}

std::vector<MIDIPortDescription> JackMIDIBackEnd::ports() {
    return _switchboard->ports();
}

bool JackMIDIBackEnd::connectSource(MIDILineID line, const std::string& address) {
    return _switchboard->connectSource(line, address);
}

bool JackMIDIBackEnd::createVirtual(MIDILineID line, MIDIDirection direction, const std::string& name) {
    if (!_switchboard->createVirtual(line, direction, name)) return false;
    _keeperWakeUp.post();
    return true;
}

bool JackMIDIBackEnd::renameVirtual(MIDILineID line, const std::string& name) {
    if (!_switchboard->renameVirtual(line, name)) return false;
    _keeperWakeUp.post();
    return true;
}

void JackMIDIBackEnd::close(MIDILineID line) {
    _switchboard->close(line);
    _reader->close(line);
}

bool JackMIDIBackEnd::send(const std::string& address, MIDIPacketList packets) {
    return _switchboard->send(address, packets);
}

bool JackMIDIBackEnd::emit(MIDILineID line, MIDIPacketList packets) {
    return _switchboard->emit(line, packets);
}

}  // namespace zelvane
