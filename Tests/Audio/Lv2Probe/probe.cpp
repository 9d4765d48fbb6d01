// SPDX-License-Identifier: GPL-3.0-or-later
// An LV2 instrument that shows how it is treated. A note sounds as one sample at its frame: its velocity on the left,
// its channel's bend on the right. Some controllers have it do what plug-ins do wrong.
#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/midi/midi.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace {

constexpr const char* kURI = "urn:zelvane:probe";
constexpr std::array kProperties{"urn:zelvane:probe#level", "urn:zelvane:probe#count", "urn:zelvane:probe#file"};
enum Controller : std::uint8_t { work = 20, noNumber = 21, slow = 22, line = 23, resetBends = 121 };

template <typename Data>
Data* feature(const LV2_Feature* const* features, const char* uri) {
    for (; *features != nullptr; ++features)
        if (std::strcmp((*features)->URI, uri) == 0) return static_cast<Data*>((*features)->data);
    return nullptr;
}

class Probe {
  public:
    Probe(double rate, const LV2_Feature* const* features)
        : _rate(rate),
          _map(feature<LV2_URID_Map>(features, LV2_URID__map)),
          _schedule(feature<LV2_Worker_Schedule>(features, LV2_WORKER__schedule)),
          _log(feature<LV2_Log_Log>(features, LV2_LOG__log)) {
        _bends.fill(8192);
        for (std::size_t i = 0; i < kProperties.size(); ++i) _keys[i] = urid(kProperties[i]);
        lv2_atom_forge_init(&_forge, _map);
    }

    void connect(std::uint32_t port, void* data) { _ports[port] = data; }
    void run(std::uint32_t frames);

    void work(LV2_Worker_Respond_Function respond, LV2_Worker_Respond_Handle handle, const void* data) {
        const int doubled = *static_cast<const std::uint8_t*>(data) * 2;
        respond(handle, sizeof doubled, &doubled);
    }
    void takeAnswer(const void* data) { std::memcpy(&_answer, data, sizeof _answer); }

    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle, const LV2_Feature* const* features);
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                             const LV2_Feature* const* features);

  private:
    LV2_URID urid(const char* uri) { return _map->map(_map->handle, uri); }
    float control(std::size_t port) const { return *static_cast<const float*>(_ports[port]); }
    void play(const std::uint8_t* message, std::uint32_t frame);
    void control(std::uint8_t number, std::uint8_t value);
    void take(const LV2_Atom_Object& object);
    void set(LV2_URID key, const LV2_Atom& value);
    void tell(std::size_t property);

    const double _rate;
    LV2_URID_Map* _map;
    LV2_Worker_Schedule* _schedule;
    LV2_Log_Log* _log;
    std::array<void*, 9> _ports{};
    std::array<LV2_URID, 3> _keys{};
    std::array<int, 16> _bends{};
    LV2_Atom_Forge _forge{};
    std::uint32_t _frames = 0;
    bool _isNumber = true;
    int _answer = 0;
    std::atomic<bool> _isBusy{false};  // running or restoring: both at a time is what must not be
    std::mutex _mutex;                 // what follows is saved while it runs
    float _level = 0.5F;
    std::int64_t _count = 0;
    std::string _file;
    std::string _note = "made";
};

void Probe::run(std::uint32_t frames) {
    if (_isBusy.exchange(true)) std::terminate();
    _frames = frames;
    _isNumber = true;
    auto* right = static_cast<float*>(_ports[2]);
    auto* left = static_cast<float*>(_ports[3]);
    std::fill_n(left, frames, 0.0F);
    std::fill_n(right, frames, 0.0F);
    *static_cast<float*>(_ports[6]) = 32;
    auto* notify = static_cast<LV2_Atom_Sequence*>(_ports[1]);
    lv2_atom_forge_set_buffer(&_forge, reinterpret_cast<std::uint8_t*>(notify), notify->atom.size);
    LV2_Atom_Forge_Frame sequence;
    lv2_atom_forge_sequence_head(&_forge, &sequence, 0);
    if (_answer != 0) right[0] = static_cast<float>(std::exchange(_answer, 0));
    const LV2_URID midi = urid(LV2_MIDI__MidiEvent);
    LV2_ATOM_SEQUENCE_FOREACH(static_cast<const LV2_Atom_Sequence*>(_ports[0]), event) {
        if (event->body.type == midi)
            play(reinterpret_cast<const std::uint8_t*>(&event->body + 1),
                 static_cast<std::uint32_t>(event->time.frames));
        else
            take(reinterpret_cast<const LV2_Atom_Object&>(event->body));
    }
    lv2_atom_forge_pop(&_forge, &sequence);
    if (!_isNumber) left[frames / 2] = std::nanf("");
    _isBusy = false;
}

void Probe::play(const std::uint8_t* message, std::uint32_t frame) {
    const std::size_t channel = message[0] & 0x0FU;
    if ((message[0] & 0xF0) == 0xE0) _bends[channel] = message[2] << 7 | message[1];
    if ((message[0] & 0xF0) == 0xB0) {
        if (message[1] == resetBends) _bends[channel] = 8192;
        control(message[1], message[2]);
    }
    const bool isFit = control(5) == 1 && *static_cast<const float*>(_ports[7]) == 0;
    if ((message[0] & 0xF0) != 0x90 || !isFit || frame >= _frames) return;
    static_cast<float*>(_ports[3])[frame] = static_cast<float>(message[2]) * control(4);
    static_cast<float*>(_ports[2])[frame] = static_cast<float>(_bends[channel]);
}

void Probe::control(std::uint8_t number, std::uint8_t value) {
    if (number == Controller::work) _schedule->schedule_work(_schedule->handle, 1, &value);
    if (number == noNumber) _isNumber = false;
    if (number == slow) std::this_thread::sleep_for(std::chrono::duration<double>(2 * _frames / _rate));
    if (number == line) _log->printf(_log->handle, urid(LV2_LOG__Warning), "value %d\nof a line\n", value);
}

void Probe::take(const LV2_Atom_Object& object) {
    const LV2_Atom* property = nullptr;
    const LV2_Atom* value = nullptr;
    lv2_atom_object_get(&object, urid(LV2_PATCH__property), &property, urid(LV2_PATCH__value), &value, 0);
    if (object.body.otype == urid(LV2_PATCH__Get) && property == nullptr)
        for (std::size_t i = 0; i < kProperties.size(); ++i) tell(i);
    if (object.body.otype == urid(LV2_PATCH__Set) && property != nullptr && value != nullptr)
        set(reinterpret_cast<const LV2_Atom_URID*>(property)->body, *value);
}

// The level has a limit of its own, which it tells of.
void Probe::set(LV2_URID key, const LV2_Atom& value) {
    const std::lock_guard lock(_mutex);
    if (key == _keys[0]) {
        _level = std::min(reinterpret_cast<const LV2_Atom_Float&>(value).body, 1.0F);
        tell(0);
    } else if (key == _keys[1]) {
        _count = reinterpret_cast<const LV2_Atom_Long&>(value).body;
    } else if (key == _keys[2]) {
        _file = reinterpret_cast<const char*>(&value + 1);
    }
}

void Probe::tell(std::size_t property) {
    lv2_atom_forge_frame_time(&_forge, 0);
    LV2_Atom_Forge_Frame frame;
    lv2_atom_forge_object(&_forge, &frame, 0, urid(LV2_PATCH__Set));
    lv2_atom_forge_key(&_forge, urid(LV2_PATCH__property));
    lv2_atom_forge_urid(&_forge, _keys[property]);
    lv2_atom_forge_key(&_forge, urid(LV2_PATCH__value));
    if (property == 0) lv2_atom_forge_float(&_forge, _level);
    if (property == 1) lv2_atom_forge_long(&_forge, _count);
    if (property == 2) lv2_atom_forge_path(&_forge, _file.c_str(), static_cast<std::uint32_t>(_file.size()));
    lv2_atom_forge_pop(&_forge, &frame);
}

LV2_State_Status Probe::save(LV2_State_Store_Function store, LV2_State_Handle handle,
                             const LV2_Feature* const* features) {
    const std::lock_guard lock(_mutex);
    constexpr std::uint32_t kFlags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
    const auto* make = feature<LV2_State_Make_Path>(features, LV2_STATE__makePath);
    const auto* map = feature<LV2_State_Map_Path>(features, LV2_STATE__mapPath);
    const auto* release = feature<LV2_State_Free_Path>(features, LV2_STATE__freePath);
    const auto storePath = [&](const char* key, const char* absolute) {
        char* path = map->abstract_path(map->handle, absolute);
        store(handle, urid(key), path, std::strlen(path) + 1, urid(LV2_ATOM__Path), kFlags);
        release->free_path(release->handle, path);
    };
    store(handle, _keys[0], &_level, sizeof _level, urid(LV2_ATOM__Float), kFlags);
    store(handle, _keys[1], &_count, sizeof _count, urid(LV2_ATOM__Long), kFlags);
    if (!_file.empty()) storePath(kProperties[2], _file.c_str());
    char* made = make->path(make->handle, "notes/one.txt");
    std::ofstream(made) << _note;
    storePath("urn:zelvane:probe#note", made);
    release->free_path(release->handle, made);
    return LV2_STATE_SUCCESS;
}

LV2_State_Status Probe::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                                const LV2_Feature* const* features) {
    if (_isBusy.exchange(true)) std::terminate();
    const auto* map = feature<LV2_State_Map_Path>(features, LV2_STATE__mapPath);
    std::size_t size = 0;
    std::uint32_t type = 0;
    std::uint32_t flags = 0;
    const auto get = [&](LV2_URID key) { return retrieve(handle, key, &size, &type, &flags); };
    const auto path = [&](const void* abstract) {
        const std::unique_ptr<char, decltype(&std::free)> absolute(
            map->absolute_path(map->handle, static_cast<const char*>(abstract)), &std::free);
        return std::string(absolute.get());
    };
    if (const void* value = get(_keys[0])) std::memcpy(&_level, value, sizeof _level);
    if (const void* value = get(_keys[1])) std::memcpy(&_count, value, sizeof _count);
    if (const void* value = get(_keys[2])) _file = path(value);
    if (const void* value = get(urid("urn:zelvane:probe#note"))) {
        std::ifstream stream(path(value));
        std::getline(stream, _note);
        _note += "+";
    }
    _bends.fill(8192);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    _isBusy = false;
    return LV2_STATE_SUCCESS;
}

Probe& probe(LV2_Handle handle) {
    return *static_cast<Probe*>(handle);
}

const void* extensionData(const char* uri) {
    static const LV2_Worker_Interface worker{[](LV2_Handle handle, LV2_Worker_Respond_Function respond,
                                                LV2_Worker_Respond_Handle to, std::uint32_t, const void* data) {
                                                 probe(handle).work(respond, to, data);
                                                 return LV2_WORKER_SUCCESS;
                                             },
                                             [](LV2_Handle handle, std::uint32_t, const void* data) {
                                                 probe(handle).takeAnswer(data);
                                                 return LV2_WORKER_SUCCESS;
                                             },
                                             nullptr};
    static const LV2_State_Interface state{
        [](LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle to, std::uint32_t,
           const LV2_Feature* const* features) { return probe(handle).save(store, to, features); },
        [](LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle from, std::uint32_t,
           const LV2_Feature* const* features) { return probe(handle).restore(retrieve, from, features); }};
    if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &worker;
    return std::strcmp(uri, LV2_STATE__interface) == 0 ? &state : nullptr;
}

const LV2_Descriptor descriptor{
    kURI,
    [](const LV2_Descriptor*, double rate, const char*, const LV2_Feature* const* features) -> LV2_Handle {
        return new Probe(rate, features);
    },
    [](LV2_Handle handle, std::uint32_t port, void* data) { probe(handle).connect(port, data); },
    nullptr,
    [](LV2_Handle handle, std::uint32_t frames) { probe(handle).run(frames); },
    nullptr,
    [](LV2_Handle handle) { delete &probe(handle); },
    &extensionData};

}  // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(std::uint32_t index) {
    return index == 0 ? &descriptor : nullptr;
}
