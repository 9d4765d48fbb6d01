// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2PatchProperties.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <lv2/atom/forge.h>
#include <lv2/atom/util.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace zelvane {

namespace {

using Type = Lv2WritableProperty::Type;
using Value = Lv2PatchProperties::Value;

constexpr std::size_t kLongestText = 4096;
constexpr std::size_t kLongestMessage = kLongestText + 256;

std::uint32_t atomType(Type type) {
    const Lv2Urids& urids = Lv2Urids::get();
    switch (type) {
        case Type::integer:
            return urids.atomInt;
        case Type::boolean:
            return urids.atomBool;
        case Type::real:
            return urids.atomFloat;
        case Type::longInteger:
            return urids.atomLong;
        case Type::doubleReal:
            return urids.atomDouble;
        case Type::path:
            return urids.atomPath;
        case Type::uri:
            return urids.atomURI;
        default:
            return urids.atomString;
    }
}

template <typename Number>
std::vector<std::byte> bytesOf(Number number) {
    std::vector<std::byte> bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

std::vector<std::byte> bytesOf(const std::string& text) {
    const auto* first = reinterpret_cast<const std::byte*>(text.c_str());
    return {first, first + text.size() + 1};
}

/// The value as an atom of the property's type; none for one that does not fit it.
std::optional<AtomValue> atomOf(Type type, const Value& value) {
    const auto* whole = std::get_if<std::int64_t>(&value);
    const auto* real = std::get_if<double>(&value);
    const auto* text = std::get_if<std::string>(&value);
    const bool isText = type == Type::path || type == Type::text || type == Type::uri;
    if (isText != (text != nullptr) || (text != nullptr && text->size() > kLongestText)) return std::nullopt;
    if (real != nullptr && !std::isfinite(*real)) return std::nullopt;
    if (text != nullptr) return AtomValue{atomType(type), bytesOf(*text)};
    switch (type) {
        case Type::integer:
            return AtomValue{atomType(type), bytesOf(static_cast<std::int32_t>(whole ? *whole : 0))};
        case Type::boolean:
            return AtomValue{atomType(type), bytesOf(std::int32_t{whole != nullptr && *whole != 0})};
        case Type::longInteger:
            return AtomValue{atomType(type), bytesOf(whole ? *whole : 0)};
        case Type::real:
            return AtomValue{atomType(type), bytesOf(static_cast<float>(real ? *real : 0))};
        case Type::doubleReal:
            return AtomValue{atomType(type), bytesOf(real ? *real : 0)};
        default:
            return std::nullopt;
    }
}

template <typename Number>
std::optional<double> numberFrom(const AtomValue& atom) {
    Number number{};
    if (atom.bytes.size() < sizeof number) return std::nullopt;
    std::memcpy(&number, atom.bytes.data(), sizeof number);
    return static_cast<double>(number);
}

std::optional<double> number(const AtomValue& atom) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (atom.type == urids.atomInt || atom.type == urids.atomBool) return numberFrom<std::int32_t>(atom);
    if (atom.type == urids.atomLong) return numberFrom<std::int64_t>(atom);
    if (atom.type == urids.atomFloat) return numberFrom<float>(atom);
    if (atom.type == urids.atomDouble) return numberFrom<double>(atom);
    return std::nullopt;
}

std::string text(const AtomValue& atom) {
    const auto* first = reinterpret_cast<const char*>(atom.bytes.data());
    return {first, strnlen(first, atom.bytes.size())};
}

/// The property's value, from an atom of whatever type the plug-in sent.
Value readValue(const Lv2WritableProperty& property, const AtomValue* atom) {
    const double standard = property.defaultValue;
    switch (property.type) {
        case Type::integer:
        case Type::boolean:
            return static_cast<std::int64_t>(atom ? number(*atom).value_or(standard) : standard);
        case Type::longInteger:
            if (std::int64_t whole = 0; atom && atom->type == Lv2Urids::get().atomLong && atom->bytes.size() == 8) {
                std::memcpy(&whole, atom->bytes.data(), sizeof whole);
                return whole;
            }
            return static_cast<std::int64_t>(atom ? number(*atom).value_or(standard) : standard);
        case Type::real:
        case Type::doubleReal:
            return atom ? number(*atom).value_or(standard) : standard;
        default:
            return atom ? text(*atom) : std::string();
    }
}

/// Writes the messages that get and set. For one thread each.
class MessageForge {
  public:
    MessageForge() {
        static LV2_URID_Map map{nullptr, [](LV2_URID_Map_Handle, const char* uri) { return lv2Urid(uri); }};
        lv2_atom_forge_init(&_forge, &map);
        lv2_atom_forge_set_buffer(&_forge, reinterpret_cast<std::uint8_t*>(_buffer.data()), sizeof _buffer);
    }

    std::span<const std::byte> set(std::uint32_t property, const AtomValue& value) {
        const Lv2Urids& urids = Lv2Urids::get();
        LV2_Atom_Forge_Frame frame;
        lv2_atom_forge_object(&_forge, &frame, 0, urids.patchSet);
        lv2_atom_forge_key(&_forge, urids.patchProperty);
        lv2_atom_forge_urid(&_forge, property);
        lv2_atom_forge_key(&_forge, urids.patchValue);
        const auto size = static_cast<std::uint32_t>(value.bytes.size());
        lv2_atom_forge_atom(&_forge, size, value.type);
        lv2_atom_forge_write(&_forge, value.bytes.data(), size);
        lv2_atom_forge_pop(&_forge, &frame);
        const auto* atom = reinterpret_cast<const LV2_Atom*>(_buffer.data());
        return {reinterpret_cast<const std::byte*>(atom + 1), atom->size};
    }

  private:
    LV2_Atom_Forge _forge{};
    std::array<std::uint64_t, kLongestMessage / 8> _buffer{};
};

std::vector<std::uint32_t> uridsOf(const std::vector<Lv2WritableProperty>& properties) {
    std::vector<std::uint32_t> urids;
    for (const Lv2WritableProperty& property : properties) urids.push_back(lv2Urid(property.uri.c_str()));
    return urids;
}

}  // namespace

Lv2PatchProperties::Lv2PatchProperties(const Lv2Plugin& plugin)
    : _properties(plugin.writableProperties),
      _urids(uridsOf(_properties)),
      _known(_properties.size()),
      _changed(_properties.size()) {}

Lv2PatchProperties::Value Lv2PatchProperties::value(std::size_t rank) {
    const std::lock_guard lock(_mutex);
    takeHeard();
    return readValue(_properties[rank], _known[rank] ? &_known[rank]->value : nullptr);
}

Lv2PatchProperties::Value Lv2PatchProperties::valueOf(std::size_t rank, const AtomValue& atom) const {
    return readValue(_properties[rank], &atom);
}

OSStatus Lv2PatchProperties::setValue(std::size_t rank, const Value& value) {
    auto atom = atomOf(_properties[rank].type, value);
    if (!atom) return kAudioUnitErr_InvalidPropertyValue;
    MessageForge forge;
    const std::lock_guard lock(_mutex);
    takeHeard();
    if (!push(Lv2Urids::get().atomObject, forge.set(_urids[rank], *atom))) return kAudioUnitErr_Uninitialized;
    _known[rank] = Known{std::move(*atom), _queued};
    return kNoError;
}

bool Lv2PatchProperties::sendEvent(std::uint32_t type, std::span<const std::byte> body) {
    const std::lock_guard lock(_mutex);
    return push(type, body);
}

bool Lv2PatchProperties::push(std::uint32_t type, std::span<const std::byte> body) {
    const Outgoing outgoing{type};
    if (body.size() > kLongestMessage || !_toPlugin.push(std::as_bytes(std::span(&outgoing, 1)), body)) return false;
    ++_queued;
    return true;
}

std::vector<std::size_t> Lv2PatchProperties::takeChanged() {
    std::vector<std::size_t> ranks;
    const std::lock_guard lock(_mutex);
    takeHeard();
    for (std::size_t rank = 0; rank < _changed.size(); ++rank) {
        if (_changed[rank]) ranks.push_back(rank);
    }
    _changed.assign(_changed.size(), false);
    return ranks;
}

void Lv2PatchProperties::update() {
    const std::lock_guard lock(_mutex);
    takeHeard();
}

// What the plug-in told before it got the last value that was set is out of date.
void Lv2PatchProperties::takeHeard() {
    while (const auto message = _fromPlugin.front()) {
        Heard heard;
        std::memcpy(&heard, message->data(), sizeof heard);
        take(heard, message->subspan(sizeof heard));
        _fromPlugin.pop();
    }
}

void Lv2PatchProperties::take(const Heard& heard, std::span<const std::byte> body) {
    std::optional<Known>& known = _known[heard.rank];
    if (known && static_cast<std::int32_t>(heard.sent - known->setBy) < 0) return;
    AtomValue value{heard.type, {body.begin(), body.end()}};
    // The first that is heard of a property is what it has been all the time.
    if (known && known->value != value) _changed[heard.rank] = true;
    known = Known{std::move(value), known ? known->setBy : 0};
}

void Lv2PatchProperties::send(EventBuffer& input) noexcept {
    while (const auto message = _toPlugin.front()) {
        Outgoing outgoing;
        std::memcpy(&outgoing, message->data(), sizeof outgoing);
        if (!input.append(0, outgoing.type, message->subspan(sizeof outgoing))) return;
        _toPlugin.pop();
        ++_sent;
    }
    if (_mustAsk.exchange(false, std::memory_order_acquire)) askFor(input);
}

// Some answer a question for everything, some only for one property.
void Lv2PatchProperties::askFor(EventBuffer& input) noexcept {
    struct {
        LV2_Atom_Object_Body object;
        LV2_Atom_Property_Body property;
        std::uint32_t urid;
        std::uint32_t padding;
    } question{};
    const Lv2Urids& urids = Lv2Urids::get();
    question.object = {0, urids.patchGet};
    question.property = {urids.patchProperty, 0, {sizeof question.urid, urids.atomURID}};
    const auto bytes = std::as_bytes(std::span(&question, 1));
    input.append(0, urids.atomObject, bytes.first(sizeof question.object));
    for (const std::uint32_t urid : _urids) {
        question.urid = urid;
        input.append(0, urids.atomObject, bytes);
    }
}

void Lv2PatchProperties::listen(const EventBuffer& output) noexcept {
    const LV2_Atom_Sequence* sequence = output.written();
    if (sequence == nullptr || _urids.empty()) return;
    const Lv2Urids& urids = Lv2Urids::get();
    LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
        const bool isObject = event->body.type == urids.atomObject || event->body.type == urids.atomBlank;
        if (isObject && event->body.size >= sizeof(LV2_Atom_Object_Body))
            hearObject(*reinterpret_cast<const LV2_Atom_Object_Body*>(&event->body + 1), event->body.size);
    }
}

void Lv2PatchProperties::hearObject(const LV2_Atom_Object_Body& object, std::uint32_t size) noexcept {
    const Lv2Urids& urids = Lv2Urids::get();
    const LV2_Atom* property = nullptr;
    const LV2_Atom* value = nullptr;
    const LV2_Atom* body = nullptr;
    lv2_atom_object_body_get(size, &object, urids.patchProperty, &property, urids.patchValue, &value, urids.patchBody,
                             &body, 0);
    if (object.otype == urids.patchSet && property != nullptr && value != nullptr &&
        property->size == sizeof(std::uint32_t)) {
        hear(reinterpret_cast<const LV2_Atom_URID*>(property)->body, *value);
    } else if (object.otype == urids.patchPut && body != nullptr && body->size >= sizeof(LV2_Atom_Object_Body)) {
        LV2_ATOM_OBJECT_FOREACH(reinterpret_cast<const LV2_Atom_Object*>(body), one)
        hear(one->key, one->value);
    }
}

void Lv2PatchProperties::hear(std::uint32_t property, const LV2_Atom& value) noexcept {
    const auto rank = rankOf(property);
    if (!rank || value.size > kLongestText + 1) return;
    const Heard heard{static_cast<std::uint32_t>(*rank), value.type, _sent};
    const auto* body = reinterpret_cast<const std::byte*>(&value + 1);
    if (!_fromPlugin.push(std::as_bytes(std::span(&heard, 1)), {body, value.size}))
        _lost.fetch_add(1, std::memory_order_relaxed);
}

std::optional<std::size_t> Lv2PatchProperties::rankOf(std::uint32_t urid) const noexcept {
    const auto place = std::find(_urids.begin(), _urids.end(), urid);
    if (place == _urids.end()) return std::nullopt;
    return static_cast<std::size_t>(place - _urids.begin());
}

}  // namespace zelvane
