// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Editor/Lv2Editor.h"

#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeed.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Instance.h"
#include "Platform/Audio/Instruments/Lv2/Lv2PatchProperties.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Properties.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Source.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"
#include "Platform/Foundation/LocalizedString.h"

#include <dlfcn.h>
#include <lv2/atom/util.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace zelvane {

namespace {

/// Loaded for good: many leave threads, timers or a toolkit behind that live in it.
const LV2UI_Descriptor* findDescriptor(const Lv2EditorFiles& files) {
    void* library = ::dlopen(files.binary.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr) return nullptr;
    const auto descriptorAt = reinterpret_cast<LV2UI_DescriptorFunction>(::dlsym(library, "lv2ui_descriptor"));
    if (descriptorAt == nullptr) return nullptr;
    for (std::uint32_t i = 0;; ++i) {
        const LV2UI_Descriptor* descriptor = descriptorAt(i);
        if (descriptor == nullptr || files.uri == descriptor->URI) return descriptor;
    }
}

std::uint32_t eventTransfer() {
    static const std::uint32_t urid = lv2Urid(LV2_ATOM__eventTransfer);
    return urid;
}

}  // namespace

std::unique_ptr<Lv2Editor> Lv2Editor::open(Lv2Source& source, Collaborators collaborators, Host host, Error& error) {
    std::unique_ptr<Lv2Editor> editor(new Lv2Editor(source, std::move(collaborators), std::move(host)));
    if (editor->instantiate()) return editor;
    error = {"LV2", 5, localizedString("Sorry, the instrument's own editor does not open.")};
    return nullptr;
}

Lv2Editor::Lv2Editor(Lv2Source& source, Collaborators collaborators, Host host)
    : _source(source),
      _with(std::move(collaborators)),
      _host(std::move(host)),
      _controls(source.plugin().ports.size(), std::nanf("")),
      _features({_host.parentWindow, static_cast<float>(_with.instance->sampleRate()), _host.scaleFactor,
                 _with.instance->lilvInstance()},
                {this,
                 [](LV2UI_Feature_Handle self, int width, int height) {
                     static_cast<Lv2Editor*>(self)->_host.resized(width, height);
                     return 0;
                 }},
                {this, [](LV2UI_Feature_Handle self, const char* symbol) {
                     return static_cast<Lv2Editor*>(self)->portIndex(symbol);
                 }}) {}

bool Lv2Editor::instantiate() {
    const auto& files = _source.editorFiles();
    _descriptor = files ? findDescriptor(*files) : nullptr;
    if (_descriptor == nullptr || _descriptor->instantiate == nullptr) return false;
    const auto write = [](LV2UI_Controller self, std::uint32_t port, std::uint32_t size, std::uint32_t protocol,
                          const void* buffer) { static_cast<Lv2Editor*>(self)->write(port, size, protocol, buffer); };
    const std::string bundle = (files->bundle / "").string();
    LV2UI_Widget widget = nullptr;
    _handle = _descriptor->instantiate(_descriptor, _source.plugin().uri.c_str(), bundle.c_str(), write, this, &widget,
                                       _features.list());
    if (_handle == nullptr) return false;
    _window = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(widget));
    if (_descriptor->extension_data != nullptr)
        _idle = static_cast<const LV2UI_Idle_Interface*>(_descriptor->extension_data(LV2_UI__idleInterface));
    _with.feed.open();
    tellAllPorts();
    _with.patches.ask();
    return true;
}

Lv2Editor::~Lv2Editor() {
    _with.feed.close();
    if (_handle != nullptr && _descriptor->cleanup != nullptr) _descriptor->cleanup(_handle);
}

void Lv2Editor::tellAllPorts() {
    for (const Lv2Port& port : _source.plugin().ports)
        if (port.kind == Lv2Port::Kind::control) tellControl(port.index, port.defaultValue);
    tellOutputs();
}

void Lv2Editor::tellOutputs() {
    for (std::size_t place = 0; place < _with.feed.outputs().size(); ++place) {
        const std::uint32_t port = _with.feed.outputs()[place];
        const float value = _with.feed.value(place);
        if (value != _controls[port]) tellControl(port, value);
    }
}

void Lv2Editor::tellEvents() {
    _with.feed.takeEvents([this](std::uint32_t port, std::span<const std::byte> atom) {
        if (_descriptor->port_event == nullptr) return;
        _descriptor->port_event(_handle, port, static_cast<std::uint32_t>(atom.size()), eventTransfer(), atom.data());
    });
}

void Lv2Editor::showParameter(AudioUnitParameterID id, float value) {
    if (id < _controls.size() && value != _controls[id]) tellControl(id, value);
}

// Some answer by writing the value back, perhaps rounded: that is nobody's edit.
void Lv2Editor::tellControl(std::uint32_t port, float value) {
    _controls[port] = value;
    if (_descriptor->port_event == nullptr) return;
    const bool wasTelling = std::exchange(_isTelling, true);
    _descriptor->port_event(_handle, port, sizeof value, 0, &value);
    _isTelling = wasTelling;
}

bool Lv2Editor::idle() {
    if (!_with.isPresentInstance()) return false;
    tellOutputs();
    tellEvents();
    return _idle == nullptr || _idle->idle == nullptr || _idle->idle(_handle) == 0;
}

void Lv2Editor::write(std::uint32_t port, std::uint32_t size, std::uint32_t protocol, const void* buffer) {
    if (port >= _controls.size() || buffer == nullptr) return;
    if (protocol == 0 && size == sizeof(float)) {
        float value = 0;
        std::memcpy(&value, buffer, sizeof value);
        writeControl(port, value);
    } else if (protocol == eventTransfer() && size >= sizeof(LV2_Atom)) {
        writeEvent({static_cast<const std::byte*>(buffer), size});
    }
}

void Lv2Editor::writeControl(std::uint32_t port, float value) {
    if (_isTelling || !std::isfinite(value) || value == _controls[port]) return;
    _controls[port] = value;
    _host.parameterEdited(port, value);
}

void Lv2Editor::writeEvent(std::span<const std::byte> bytes) {
    LV2_Atom atom;
    std::memcpy(&atom, bytes.data(), sizeof atom);
    const auto body = bytes.subspan(sizeof atom);
    if (atom.size > body.size()) return;
    const auto byte = [&](std::size_t i) {
        return i < atom.size ? std::to_integer<std::uint8_t>(body[i]) : std::uint8_t{0};
    };
    if (atom.type == Lv2Urids::get().midiEvent) return _host.played(byte(0), byte(1), byte(2));
    if (!_isTelling && writeProperty(*reinterpret_cast<const LV2_Atom*>(bytes.data()))) return;
    _with.patches.sendEvent(atom.type, body.first(atom.size));
}

/// A property of the instrument's is set as users do, so that the other units have it too.
bool Lv2Editor::writeProperty(const LV2_Atom& atom) {
    const Lv2Urids& urids = Lv2Urids::get();
    if ((atom.type != urids.atomObject && atom.type != urids.atomBlank) || atom.size < sizeof(LV2_Atom_Object_Body))
        return false;
    const auto& object = *reinterpret_cast<const LV2_Atom_Object*>(&atom);
    const LV2_Atom *property = nullptr, *value = nullptr;
    lv2_atom_object_get(&object, urids.patchProperty, &property, urids.patchValue, &value, 0);
    if (object.body.otype != urids.patchSet || property == nullptr || value == nullptr ||
        property->size != sizeof(std::uint32_t))
        return false;
    const auto rank = _with.patches.rankOf(reinterpret_cast<const LV2_Atom_URID*>(property)->body);
    if (!rank) return false;
    const auto type = _with.patches.all()[*rank].type;
    if (type == Lv2WritableProperty::Type::other) return false;
    const auto* first = reinterpret_cast<const std::byte*>(value + 1);
    const AtomValue edited{value->type, {first, first + value->size}};
    withPropertyBytes(type, _with.patches.valueOf(*rank, edited), [&](std::span<const std::byte> bytes) {
        _host.propertyEdited(kFirstLv2Property + static_cast<AudioUnitPropertyID>(*rank), bytes);
    });
    return true;
}

std::uint32_t Lv2Editor::portIndex(const char* symbol) const {
    const auto& ports = _source.plugin().ports;
    const auto place =
        std::find_if(ports.begin(), ports.end(), [&](const Lv2Port& port) { return port.symbol == symbol; });
    return place == ports.end() ? LV2UI_INVALID_PORT_INDEX : place->index;
}

}  // namespace zelvane
