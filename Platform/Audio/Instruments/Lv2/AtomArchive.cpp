// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/AtomArchive.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <lv2/atom/atom.h>
#include <lv2/atom/util.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

namespace zelvane {

namespace {

using Bytes = std::span<const std::byte>;
using Dictionary = PropertyList::Dictionary;
using Archive = std::optional<PropertyList>;

constexpr int kMostLevels = 32;

Archive archived(std::uint32_t type, Bytes bytes, int level);
std::optional<AtomValue> unarchived(const PropertyList& archive, int level);

template <typename Value>
std::optional<Value> plain(Bytes bytes) {
    Value value{};
    if (bytes.size() != sizeof value) return std::nullopt;
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

template <typename Value>
void append(std::vector<std::byte>& bytes, const Value& value) {
    static_assert(std::is_trivially_copyable_v<Value>);
    const auto* first = reinterpret_cast<const std::byte*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
}

template <typename Value>
Archive archiveOf(Value value) {
    Archive archive(std::in_place);
    archive->value = std::move(value);
    return archive;
}

PropertyList text(const char* uri) {
    return {std::string(uri == nullptr ? "" : uri)};
}

const PropertyList* entry(const Dictionary& dictionary, const char* key) {
    const auto place = dictionary.find(key);
    return place == dictionary.end() ? nullptr : &place->second;
}

template <typename Value>
const Value* entryOf(const Dictionary& dictionary, const char* key) {
    const PropertyList* found = entry(dictionary, key);
    return found == nullptr ? nullptr : std::get_if<Value>(&found->value);
}

/// The number of the URI under a key; 0 when there is none.
std::uint32_t uridEntry(const Dictionary& dictionary, const char* key) {
    const auto* uri = entryOf<std::string>(dictionary, key);
    return uri == nullptr || uri->empty() ? 0 : lv2Urid(uri->c_str());
}

bool isText(std::uint32_t type) {
    const Lv2Urids& urids = Lv2Urids::get();
    return type == urids.atomString || type == urids.atomPath || type == urids.atomURI;
}

/// The size of a type whose values are all of one size; 0 for the others.
std::uint32_t plainSize(std::uint32_t type) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (type == urids.atomLong || type == urids.atomDouble) return 8;
    const bool isShort =
        type == urids.atomInt || type == urids.atomBool || type == urids.atomFloat || type == urids.atomURID;
    return isShort ? 4 : 0;
}

/// Whether a plug-in may rely on the value: numbers of their size, texts with their end.
bool isWellFormed(const AtomValue& atom) {
    if (isText(atom.type)) return !atom.bytes.empty() && atom.bytes.back() == std::byte{0};
    const std::uint32_t size = plainSize(atom.type);
    return size == 0 || atom.bytes.size() == size;
}

// Whole numbers and texts stand as such, so that the file can be read; what does not survive that way stays as bytes.
PropertyList raw(Bytes bytes) {
    return {PropertyList::Data(bytes.begin(), bytes.end())};
}

bool isWellFormedText(Bytes bytes) {
    if (bytes.empty() || bytes.back() != std::byte{0}) return false;
    return std::all_of(bytes.begin(), bytes.end() - 1, [](std::byte byte) {
        const auto character = std::to_integer<unsigned char>(byte);
        return (character >= ' ' && character < 0x7F) || character == '\t' || character == '\n';
    });
}

PropertyList archivedReal(double number, Bytes bytes) {
    return std::isfinite(number) ? PropertyList{number} : raw(bytes);
}

Archive archivedPlain(std::uint32_t type, Bytes bytes) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (isText(type) && isWellFormedText(bytes))
        return PropertyList{std::string(reinterpret_cast<const char*>(bytes.data()))};
    if (type == urids.atomInt || type == urids.atomBool) {
        if (const auto number = plain<std::int32_t>(bytes)) return PropertyList{std::int64_t{*number}};
    }
    if (type == urids.atomLong) {
        if (const auto number = plain<std::int64_t>(bytes)) return PropertyList{*number};
    }
    if (type == urids.atomFloat) {
        if (const auto number = plain<float>(bytes)) return archivedReal(static_cast<double>(*number), bytes);
    }
    if (type == urids.atomDouble) {
        if (const auto number = plain<double>(bytes)) return archivedReal(*number, bytes);
    }
    if (type == urids.atomURID) {
        const auto urid = plain<std::uint32_t>(bytes);
        return urid ? Archive(text(lv2Uri(*urid))) : std::nullopt;
    }
    return raw(bytes);
}

/// An atom with its header at the beginning of the bytes; none when it is longer than they are.
std::optional<LV2_Atom> headerAt(Bytes bytes) {
    LV2_Atom atom{};
    if (bytes.size() < sizeof atom) return std::nullopt;
    std::memcpy(&atom, bytes.data(), sizeof atom);
    return atom.size <= bytes.size() - sizeof atom ? std::optional(atom) : std::nullopt;
}

Bytes after(Bytes bytes, std::size_t size) {
    return bytes.subspan(std::min(bytes.size(), std::size_t{lv2_atom_pad_size(static_cast<std::uint32_t>(size))}));
}

Archive archivedTuple(Bytes bytes, int level) {
    PropertyList::Array atoms;
    while (!bytes.empty()) {
        const auto atom = headerAt(bytes);
        if (!atom) return std::nullopt;
        const Archive one = archived(atom->type, bytes.subspan(sizeof *atom, atom->size), level + 1);
        if (!one) return std::nullopt;
        atoms.push_back(*one);
        bytes = after(bytes, sizeof *atom + atom->size);
    }
    return archiveOf(std::move(atoms));
}

Archive archivedObject(Bytes bytes, int level) {
    LV2_Atom_Object_Body body{};
    if (bytes.size() < sizeof body) return std::nullopt;
    std::memcpy(&body, bytes.data(), sizeof body);
    bytes = bytes.subspan(sizeof body);
    PropertyList::Array properties;
    while (!bytes.empty()) {
        constexpr std::size_t kKeys = 2 * sizeof(std::uint32_t);
        const auto atom = bytes.size() < kKeys ? std::nullopt : headerAt(bytes.subspan(kKeys));
        if (!atom) return std::nullopt;
        Archive one = archived(atom->type, bytes.subspan(kKeys + sizeof *atom, atom->size), level + 1);
        if (!one) return std::nullopt;
        std::get<Dictionary>(one->value)["key"] = text(lv2Uri(*plain<std::uint32_t>(bytes.first(4))));
        properties.push_back(std::move(*one));
        bytes = after(bytes, kKeys + sizeof *atom + atom->size);
    }
    Dictionary object;
    object["id"] = text(lv2Uri(body.id));
    object["class"] = text(lv2Uri(body.otype));
    object["properties"].value = std::move(properties);
    return archiveOf(std::move(object));
}

// Vectors are long: of numbers they stay as bytes. Those of URIs' numbers have to be spelled out; there are no others.
Archive archivedVector(Bytes bytes) {
    LV2_Atom_Vector_Body body{};
    if (bytes.size() < sizeof body) return std::nullopt;
    std::memcpy(&body, bytes.data(), sizeof body);
    bytes = bytes.subspan(sizeof body);
    if (body.child_size == 0 || body.child_size != plainSize(body.child_type) || bytes.size() % body.child_size != 0)
        return std::nullopt;
    Dictionary vector;
    vector["childType"] = text(lv2Uri(body.child_type));
    vector["children"] = raw(bytes);
    if (body.child_type != Lv2Urids::get().atomURID) return archiveOf(std::move(vector));
    PropertyList::Array uris;
    for (; !bytes.empty(); bytes = bytes.subspan(body.child_size))
        uris.push_back(text(lv2Uri(*plain<std::uint32_t>(bytes.first(body.child_size)))));
    vector["children"].value = std::move(uris);
    return archiveOf(std::move(vector));
}

Archive archivedLiteral(Bytes bytes) {
    LV2_Atom_Literal_Body body{};
    if (bytes.size() < sizeof body) return std::nullopt;
    std::memcpy(&body, bytes.data(), sizeof body);
    Dictionary literal;
    literal["datatype"] = text(lv2Uri(body.datatype));
    literal["language"] = text(lv2Uri(body.lang));
    literal["text"] = raw(bytes.subspan(sizeof body));
    return archiveOf(std::move(literal));
}

Archive archivedValue(std::uint32_t type, Bytes bytes, int level) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (type == urids.atomTuple) return archivedTuple(bytes, level);
    if (type == urids.atomObject || type == urids.atomBlank) return archivedObject(bytes, level);
    if (type == urids.atomVector) return archivedVector(bytes);
    if (type == urids.atomLiteral) return archivedLiteral(bytes);
    return archivedPlain(type, bytes);
}

Archive archived(std::uint32_t type, Bytes bytes, int level) {
    const char* uri = lv2Uri(type);
    if (uri == nullptr || level > kMostLevels) return std::nullopt;
    Archive value = archivedValue(type, bytes, level);
    if (!value) return std::nullopt;
    Dictionary atom;
    atom["type"] = text(uri);
    atom["value"] = std::move(*value);
    return archiveOf(std::move(atom));
}

template <typename Value>
bool appendNumber(std::vector<std::byte>& bytes, const PropertyList& list) {
    const auto* whole = std::get_if<std::int64_t>(&list.value);
    const auto* real = std::get_if<double>(&list.value);
    if constexpr (std::is_integral_v<Value>) {
        if (whole == nullptr || *whole < std::numeric_limits<Value>::min() ||
            *whole > std::numeric_limits<Value>::max())
            return false;
    } else if (real != nullptr) {
        append(bytes, static_cast<Value>(*real));
        return true;
    }
    if (whole != nullptr) append(bytes, static_cast<Value>(*whole));
    return whole != nullptr;
}

bool appendPlain(std::vector<std::byte>& bytes, std::uint32_t type, const PropertyList& list) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (const auto* data = std::get_if<PropertyList::Data>(&list.value)) {
        bytes = *data;
        return true;
    }
    if (type == urids.atomInt || type == urids.atomBool) return appendNumber<std::int32_t>(bytes, list);
    if (type == urids.atomLong) return appendNumber<std::int64_t>(bytes, list);
    if (type == urids.atomFloat) return appendNumber<float>(bytes, list);
    if (type == urids.atomDouble) return appendNumber<double>(bytes, list);
    const auto* characters = std::get_if<std::string>(&list.value);
    if (characters == nullptr) return false;
    if (type == urids.atomURID) {
        append(bytes, characters->empty() ? 0 : lv2Urid(characters->c_str()));
    } else {
        const auto* first = reinterpret_cast<const std::byte*>(characters->c_str());
        bytes.assign(first, first + characters->size() + 1);
    }
    return true;
}

void appendAtom(std::vector<std::byte>& bytes, const AtomValue& value) {
    append(bytes, LV2_Atom{static_cast<std::uint32_t>(value.bytes.size()), value.type});
    bytes.insert(bytes.end(), value.bytes.begin(), value.bytes.end());
    bytes.resize((bytes.size() + 7) / 8 * 8);
}

bool appendTuple(std::vector<std::byte>& bytes, const PropertyList& list, int level) {
    const auto* atoms = std::get_if<PropertyList::Array>(&list.value);
    if (atoms == nullptr) return false;
    for (const PropertyList& one : *atoms) {
        const auto atom = unarchived(one, level + 1);
        if (!atom) return false;
        appendAtom(bytes, *atom);
    }
    return true;
}

bool appendObject(std::vector<std::byte>& bytes, const PropertyList& list, int level) {
    const auto* object = std::get_if<Dictionary>(&list.value);
    const auto* properties = object == nullptr ? nullptr : entryOf<PropertyList::Array>(*object, "properties");
    if (properties == nullptr) return false;
    append(bytes, LV2_Atom_Object_Body{uridEntry(*object, "id"), uridEntry(*object, "class")});
    for (const PropertyList& one : *properties) {
        const auto atom = unarchived(one, level + 1);
        if (!atom) return false;
        append(bytes, uridEntry(std::get<Dictionary>(one.value), "key"));
        append(bytes, std::uint32_t{0});
        appendAtom(bytes, *atom);
    }
    return true;
}

bool appendVector(std::vector<std::byte>& bytes, const PropertyList& list) {
    const auto* vector = std::get_if<Dictionary>(&list.value);
    const std::uint32_t type = vector == nullptr ? 0 : uridEntry(*vector, "childType");
    const std::uint32_t size = plainSize(type);
    if (size == 0) return false;
    append(bytes, LV2_Atom_Vector_Body{size, type});
    if (const auto* data = entryOf<PropertyList::Data>(*vector, "children")) {
        bytes.insert(bytes.end(), data->begin(), data->end());
        return type != Lv2Urids::get().atomURID && data->size() % size == 0;
    }
    const auto* uris = entryOf<PropertyList::Array>(*vector, "children");
    if (uris == nullptr || type != Lv2Urids::get().atomURID) return false;
    for (const PropertyList& one : *uris) {
        const auto* uri = std::get_if<std::string>(&one.value);
        if (uri == nullptr) return false;
        append(bytes, uri->empty() ? 0 : lv2Urid(uri->c_str()));
    }
    return true;
}

bool appendLiteral(std::vector<std::byte>& bytes, const PropertyList& list) {
    const auto* literal = std::get_if<Dictionary>(&list.value);
    const auto* characters = literal == nullptr ? nullptr : entryOf<PropertyList::Data>(*literal, "text");
    if (characters == nullptr) return false;
    append(bytes, LV2_Atom_Literal_Body{uridEntry(*literal, "datatype"), uridEntry(*literal, "language")});
    bytes.insert(bytes.end(), characters->begin(), characters->end());
    return true;
}

bool appendValue(std::vector<std::byte>& bytes, std::uint32_t type, const PropertyList& list, int level) {
    const Lv2Urids& urids = Lv2Urids::get();
    if (type == urids.atomTuple) return appendTuple(bytes, list, level);
    if (type == urids.atomObject || type == urids.atomBlank) return appendObject(bytes, list, level);
    if (type == urids.atomVector) return appendVector(bytes, list);
    if (type == urids.atomLiteral) return appendLiteral(bytes, list);
    return appendPlain(bytes, type, list);
}

std::optional<AtomValue> unarchived(const PropertyList& archive, int level) {
    const auto* dictionary = std::get_if<Dictionary>(&archive.value);
    const PropertyList* value = dictionary == nullptr ? nullptr : entry(*dictionary, "value");
    if (value == nullptr || level > kMostLevels) return std::nullopt;
    AtomValue atom{.type = uridEntry(*dictionary, "type"), .bytes = {}};
    if (atom.type == 0 || !appendValue(atom.bytes, atom.type, *value, level) || !isWellFormed(atom))
        return std::nullopt;
    return atom;
}

}  // namespace

Archive archivedAtom(std::uint32_t type, Bytes bytes) {
    return archived(type, bytes, 0);
}

std::optional<AtomValue> unarchivedAtom(const PropertyList& archive) {
    return unarchived(archive, 0);
}

}  // namespace zelvane
