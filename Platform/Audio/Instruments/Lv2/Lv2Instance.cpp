// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Instance.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Library.h"
#include "Platform/Audio/Instruments/Lv2/Lv2StateDictionary.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"
#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Foundation/LocalizedString.h"

#include <lv2/state/state.h>
#include <lv2/worker/worker.h>

#include <optional>

namespace zelvane {

namespace {

constexpr std::uint32_t kSaveFlags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;

template <typename Interface>
const Interface* extension(LilvInstance* instance, const char* uri) {
    return static_cast<const Interface*>(lilv_instance_get_extension_data(instance, uri));
}

/// The value of a control port in a state, whose type is whatever its file says.
std::optional<float> controlValue(const void* value, std::uint32_t size, std::uint32_t type) {
    const Lv2Urids& urids = Lv2Urids::get();
    const auto as = [&]<typename Value>(Value) -> std::optional<float> {
        if (size != sizeof(Value)) return std::nullopt;
        return static_cast<float>(*static_cast<const Value*>(value));
    };
    if (type == urids.atomFloat) return as(float{});
    if (type == urids.atomDouble) return as(double{});
    if (type == urids.atomInt || type == urids.atomBool) return as(std::int32_t{});
    if (type == urids.atomLong) return as(std::int64_t{});
    return std::nullopt;
}

void setControlPort(const char* symbol, void* target, const void* value, std::uint32_t size, std::uint32_t type) {
    const auto& setControl = *static_cast<const Lv2Instance::SetControl*>(target);
    if (const auto number = controlValue(value, size, type)) setControl(symbol, *number);
}

}  // namespace

std::unique_ptr<Lv2Instance> Lv2Instance::make(std::shared_ptr<Lv2Source> source, double sampleRate, Error& error) {
    std::unique_ptr<Lv2Instance> instance(new Lv2Instance(std::move(source), sampleRate));
    if (instance->instantiate()) return instance;
    error = {"LV2", 4, localizedString("Sorry, this instrument refuses to start.")};
    return nullptr;
}

Lv2Instance::Lv2Instance(std::shared_ptr<Lv2Source> source, double sampleRate)
    : _source(std::move(source)),
      _sampleRate(sampleRate),
      _log(_source->plugin().name),
      _files(_source->plugin().bundle),
      _ports(_source->plugin()),
      _features(static_cast<float>(sampleRate), _log, _worker, _files) {}

bool Lv2Instance::instantiate() {
    {
        const std::lock_guard lock(_source->world().mutex());
        const LilvPlugin* plugin = _source->world().library().plugin(_source->plugin().uri);
        _instance = lilv_plugin_instantiate(plugin, _sampleRate, _features.list());
    }
    if (_instance == nullptr) return false;
    _ports.connect(_instance);
    _worker.start(lilv_instance_get_handle(_instance),
                  extension<LV2_Worker_Interface>(_instance, LV2_WORKER__interface));
    lilv_instance_activate(_instance);
    return true;
}

Lv2Instance::~Lv2Instance() {
    if (_instance == nullptr) return;
    _worker.finish();
    lilv_instance_deactivate(_instance);
    const std::lock_guard lock(_source->world().mutex());
    lilv_instance_free(_instance);
}

void Lv2Instance::run(std::uint32_t frames) noexcept {
    // Whether others' code keeps to the rules of the audio thread is not in our hands. What it asks of us meanwhile
    // (work, lines for the log, numbers of URIs) goes through bounded queues and a table that is read without locks.
    const RealtimeExemption exemption("a plug-in's own run");
    const Lv2RunScope scope;
    lilv_instance_run(_instance, frames);
    _worker.finishRun();
}

PropertyList::Dictionary Lv2Instance::savedState() {
    const auto* interface = extension<LV2_State_Interface>(_instance, LV2_STATE__interface);
    if (interface == nullptr || interface->save == nullptr) return {};
    Lv2StateWriter writer;
    {
        const std::lock_guard lock(_worker.mutex());
        interface->save(lilv_instance_get_handle(_instance), &Lv2StateWriter::store, &writer, kSaveFlags,
                        _features.list());
    }
    return {{"values", {writer.take()}}, {"files", {_files.contents()}}};
}

void Lv2Instance::restore(const PropertyList::Dictionary& state) {
    const auto* interface = extension<LV2_State_Interface>(_instance, LV2_STATE__interface);
    if (interface == nullptr || interface->restore == nullptr) return;
    const auto part = [&](const char* key) {
        const auto place = state.find(key);
        const auto* found =
            place == state.end() ? nullptr : std::get_if<PropertyList::Dictionary>(&place->second.value);
        return found == nullptr ? PropertyList::Dictionary() : *found;
    };
    _files.putContents(part("files"));
    Lv2StateReader reader(part("values"));
    const std::lock_guard lock(_worker.mutex());
    interface->restore(lilv_instance_get_handle(_instance), &Lv2StateReader::retrieve, &reader, 0, _features.list());
}

bool Lv2Instance::applyState(const std::string& uri, const SetControl& setControl) {
    std::mutex& worldMutex = _source->world().mutex();
    LilvStateOwner state;
    {
        const std::lock_guard lock(worldMutex);
        auto& library = _source->world().library();
        const LilvNode* node = library.node(uri.c_str());
        lilv_world_load_resource(library.world.get(), node);
        state.reset(lilv_state_new_from_world(library.world.get(), _features.map(), node));
    }
    if (state == nullptr) return false;
    {
        const std::lock_guard lock(_worker.mutex());
        lilv_state_restore(state.get(), _instance, &setControlPort, const_cast<SetControl*>(&setControl), 0,
                           _features.list());
    }
    const std::lock_guard lock(worldMutex);
    state.reset();
    return true;
}

}  // namespace zelvane
