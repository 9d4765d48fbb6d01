// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/JackMIDIPeer.h"

#include "Platform/Jack/ScopedBrokenPipeBlock.h"
#include "Platform/Jack/Uncancelled.h"

#include <dlfcn.h>

#include <algorithm>
#include <utility>

namespace zelvane {

namespace {

/// A wire that was just made carries from one of the next cycles on, a few later if the server is held up.
constexpr jack_nframes_t kCyclesBefore = 8;

void setAlias(const JackLibrary& library, jack_port_t* port, const std::string& alias) {
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(library.clientOpen), &info);
    void* handle = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    const auto set = reinterpret_cast<decltype(&::jack_port_set_alias)>(dlsym(handle, "jack_port_set_alias"));
    set(port, alias.c_str());
    dlclose(handle);
}

}  // namespace

JackMIDIPeer::JackMIDIPeer(const char* name, const std::vector<std::string>& outputs,
                           const std::vector<std::string>& inputs, const std::string& alias)
    : _client(_libraries.openClient(name)) {
    if (!_client) return;
    const ScopedBrokenPipeBlock block;
    const JackLibrary& library = _client->library();
    const auto add = [&](const std::string& port, unsigned long flags) {
        const unsigned long physical = alias.empty() ? 0UL : static_cast<unsigned long>(JackPortIsPhysical);
        jack_port_t* made =
            library.portRegister(_client->handle(), port.c_str(), JACK_DEFAULT_MIDI_TYPE, flags | physical, 0);
        if (!alias.empty()) setAlias(library, made, alias + ":" + port);
        return made;
    };
    for (const std::string& port : outputs) _outputs.push_back(add(port, JackPortIsOutput));
    for (const std::string& port : inputs) _inputs.push_back(add(port, JackPortIsInput));
    library.setProcessCallback(_client->handle(), processUncancelled<&JackMIDIPeer::process, JackMIDIPeer>, this);
    library.setXrunCallback(
        _client->handle(),
        [](void* self) {
            ++static_cast<JackMIDIPeer*>(self)->_xruns;
            return 0;
        },
        this);
    _isActive = library.activate(_client->handle()) == 0;
}

JackMIDIPeer::~JackMIDIPeer() {
    const ScopedBrokenPipeBlock block;
    if (!_client) return;
    if (_isActive) _client->library().deactivate(_client->handle());
    if (_client->isDead()) return;
    for (auto* ports : {&_outputs, &_inputs}) {
        for (jack_port_t* port : *ports) _client->library().portUnregister(_client->handle(), port);
    }
}

bool JackMIDIPeer::connect(const std::string& source, const std::string& destination) const {
    return _client->library().connect(_client->handle(), source.c_str(), destination.c_str()) == 0;
}

bool JackMIDIPeer::disconnect(const std::string& source, const std::string& destination) const {
    return _client->library().disconnect(_client->handle(), source.c_str(), destination.c_str()) == 0;
}

std::vector<std::string> JackMIDIPeer::connections(const std::string& port) const {
    const JackLibrary& library = _client->library();
    std::vector<std::string> all;
    const char** names =
        library.portConnections(_client->handle(), library.portByName(_client->handle(), port.c_str()));
    for (const char** name = names; name != nullptr && *name != nullptr; ++name) all.emplace_back(*name);
    if (names != nullptr) library.free(names);
    return all;
}

void JackMIDIPeer::play(std::vector<Planned> events, std::size_t output) {
    const std::lock_guard lock(_mutex);
    _plan = std::move(events);
    _planned = 0;
    _output = output;
    _isPlanNew = true;
}

bool JackMIDIPeer::hasPlayed() const {
    const std::lock_guard lock(_mutex);
    return _planned == _plan.size();
}

std::vector<JackMIDIPeer::Event> JackMIDIPeer::written() const {
    const std::lock_guard lock(_mutex);
    return _written;
}

void JackMIDIPeer::forget() {
    const std::lock_guard lock(_mutex);
    _written.clear();
}

std::vector<JackMIDIPeer::Bytes> JackMIDIPeer::heard() const {
    const std::lock_guard lock(_mutex);
    return _heard;
}

int JackMIDIPeer::process(jack_nframes_t frames) noexcept {
    const std::lock_guard lock(_mutex);
    jack_nframes_t frame = 0;
    jack_time_t start = 0;
    jack_time_t next = 0;
    float period = 0;
    _client->library().cycleTimes(_client->handle(), &frame, &start, &next, &period);
    ++_cycles;
    write(frames, frame, TimePoint(std::chrono::microseconds(start)));
    listen(frames);
    return 0;
}

void JackMIDIPeer::write(jack_nframes_t frames, jack_nframes_t cycleFrame, TimePoint start) {
    const JackLibrary& library = _client->library();
    for (jack_port_t* port : _outputs) library.midiClearBuffer(library.portBuffer(port, frames));
    if (std::exchange(_isPlanNew, false)) _planStart = cycleFrame + kCyclesBefore * frames;
    const double rate = library.sampleRate(_client->handle());
    while (_planned < _plan.size() && _plan[_planned].frame + _planStart < cycleFrame + frames) {
        const Planned& planned = _plan[_planned++];
        const std::uint32_t offset = std::max(planned.frame + _planStart, cycleFrame) - cycleFrame;
        void* buffer = library.portBuffer(_outputs[_output], frames);
        jack_midi_data_t* place = library.midiEventReserve(buffer, offset, planned.bytes.size());
        if (place == nullptr) continue;
        std::ranges::copy(planned.bytes, place);
        _written.push_back({_cycles, start + secondsToDuration(offset / rate), planned.bytes, _output});
        _doneAt = _cycles.load();
    }
}

void JackMIDIPeer::listen(jack_nframes_t frames) {
    const JackLibrary& library = _client->library();
    for (jack_port_t* port : _inputs) {
        void* buffer = library.portBuffer(port, frames);
        const std::uint32_t count = library.midiEventCount(buffer);
        for (std::uint32_t i = 0; i < count; ++i) {
            jack_midi_event_t event{};
            if (library.midiEvent(&event, buffer, i) != 0) continue;
            _heard.emplace_back(event.buffer, event.buffer + event.size);
        }
    }
}

}  // namespace zelvane
