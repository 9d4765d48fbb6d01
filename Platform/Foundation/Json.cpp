// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/Json.h"

#include <nlohmann/json.hpp>

#include <type_traits>

namespace zelvane {

namespace {

using Json = nlohmann::json;

Json jsonOf(const PropertyList& list);

Json jsonOfArray(const PropertyList::Array& items) {
    Json array = Json::array();
    for (const PropertyList& item : items) array.push_back(jsonOf(item));
    return array;
}

Json jsonOfDictionary(const PropertyList::Dictionary& entries) {
    Json object = Json::object();
    for (const auto& [key, value] : entries) object[key] = jsonOf(value);
    return object;
}

Json jsonOfData(const PropertyList::Data& data) {
    Json array = Json::array();
    for (const std::byte byte : data) array.push_back(std::to_integer<int>(byte));
    return array;
}

Json jsonOf(const PropertyList& list) {
    return std::visit(
        [](const auto& held) -> Json {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, PropertyList::Array>) {
                return jsonOfArray(held);
            } else if constexpr (std::is_same_v<Held, PropertyList::Dictionary>) {
                return jsonOfDictionary(held);
            } else if constexpr (std::is_same_v<Held, PropertyList::Data>) {
                return jsonOfData(held);
            } else {
                return Json(held);
            }
        },
        list.value);
}

}  // namespace

std::string jsonText(const PropertyList& list) {
    return jsonOf(list).dump(4, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace zelvane
