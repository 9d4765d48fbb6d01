// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/KeyedArchive.h"

#include <utility>

namespace zelvane {

namespace {

// Stands beside an object's own values; none of their keys begins with a dollar sign.
constexpr const char* kClassKey = "$class";

std::string_view asText(const PropertyList::Data& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace

PropertyList::Data KeyedArchiver::archivedData(std::shared_ptr<const Archivable> root,
                                               KeyedArchiverDelegate* delegate) {
    if (root == nullptr) return {};
    const std::string text = serializePropertyList(encoded(std::move(root), delegate));
    const auto* first = reinterpret_cast<const std::byte*>(text.data());
    return {first, first + text.size()};
}

PropertyList KeyedArchiver::encoded(std::shared_ptr<const Archivable> object, KeyedArchiverDelegate* delegate) {
    if (delegate != nullptr) object = delegate->willEncodeObject(std::move(object));
    KeyedArchiver archiver(delegate);
    if (object != nullptr) {
        object->encodeWithCoder(archiver);
        archiver._values[kClassKey] = {object->archivedClassName()};
    }
    return {std::move(archiver._values)};
}

void KeyedArchiver::encodeObject(std::shared_ptr<const Archivable> object, const std::string& key) {
    if (object != nullptr) _values[key] = encoded(std::move(object), _delegate);
}

std::shared_ptr<Archivable> KeyedUnarchiver::unarchivedObject(const PropertyList::Data& data, const Classes& classes,
                                                              KeyedUnarchiverDelegate* delegate) {
    Error error;
    const auto list = parsePropertyList(asText(data), error);
    return list ? decoded(*list, classes, delegate) : nullptr;
}

std::shared_ptr<Archivable> KeyedUnarchiver::decoded(const PropertyList& value, const Classes& classes,
                                                     KeyedUnarchiverDelegate* delegate) {
    const auto* values = std::get_if<PropertyList::Dictionary>(&value.value);
    if (values == nullptr) return nullptr;
    const KeyedUnarchiver unarchiver(*values, classes, delegate);
    const auto name = unarchiver.decodeString(kClassKey);
    const auto maker = name ? classes.find(*name) : classes.end();
    auto object = maker != classes.end() ? maker->second(unarchiver) : nullptr;
    return object != nullptr && delegate != nullptr ? delegate->didDecodeObject(std::move(object)) : object;
}

const PropertyList* KeyedUnarchiver::find(const std::string& key) const {
    const auto entry = _values.find(key);
    return entry != _values.end() ? &entry->second : nullptr;
}

std::optional<std::string> KeyedUnarchiver::decodeString(const std::string& key) const {
    const PropertyList* value = find(key);
    const auto* text = value != nullptr ? std::get_if<std::string>(&value->value) : nullptr;
    return text != nullptr ? std::optional(*text) : std::nullopt;
}

std::int32_t KeyedUnarchiver::decodeInt32(const std::string& key) const {
    const PropertyList* value = find(key);
    const auto* number = value != nullptr ? std::get_if<std::int64_t>(&value->value) : nullptr;
    return number != nullptr ? static_cast<std::int32_t>(*number) : 0;
}

std::shared_ptr<Archivable> KeyedUnarchiver::decodeObject(const std::string& key) const {
    const PropertyList* value = find(key);
    return value != nullptr ? decoded(*value, _classes, _delegate) : nullptr;
}

}  // namespace zelvane
