// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/PropertyList.h"

#include "Platform/Foundation/LocalizedString.h"
#include "Platform/Foundation/NumberLocale.h"
#include "Platform/Foundation/PropertyListScanner.h"
#include "Platform/Foundation/Text.h"

#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>

namespace zelvane {

namespace {

constexpr std::size_t kDeepestNesting = 256;

struct NodeDeleter {
    using pointer = plist_t;
    void operator()(plist_t node) const { plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Allocated = std::unique_ptr<T, FreeDeleter>;

std::string xmlOf(plist_t node) {
    char* xml = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(node, &xml, &length);
    const std::unique_ptr<char, decltype(&plist_to_xml_free)> owner(xml, plist_to_xml_free);
    return xml != nullptr ? std::string(xml, length) : std::string();
}

std::int64_t integerOf(plist_t node) {
    std::uint64_t bits = 0;
    plist_get_uint_val(node, &bits);
    const auto number = static_cast<std::int64_t>(bits);
    // The library hands out -1 and 2^64-1 as the same bits; only what it would write tells them apart.
    const bool isTooLarge = number < 0 && xmlOf(node).find("<integer>-") == std::string::npos;
    return isTooLarge ? std::numeric_limits<std::int64_t>::max() : number;
}

/// Dates are no kind of value here, and are kept as their text.
std::string dateOf(plist_t node) {
    constexpr std::time_t kStartOf2001 = 978307200;
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    const std::time_t date = kStartOf2001 + seconds;
    std::tm parts{};
    std::array<char, 32> text{};
    gmtime_r(&date, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

PropertyList::Data dataOf(plist_t node) {
    std::uint64_t length = 0;
    const char* bytes = plist_get_data_ptr(node, &length);
    PropertyList::Data data(bytes != nullptr ? length : 0);
    std::transform(bytes, bytes + data.size(), data.begin(), [](char c) { return static_cast<std::byte>(c); });
    return data;
}

PropertyList valueOf(plist_t node);

PropertyList::Array arrayOf(plist_t node) {
    PropertyList::Array array;
    plist_array_iter position = nullptr;
    plist_array_new_iter(node, &position);
    const Allocated<void> owner(position);
    plist_t item = nullptr;
    for (plist_array_next_item(node, position, &item); item != nullptr; plist_array_next_item(node, position, &item)) {
        array.push_back(valueOf(item));
    }
    return array;
}

PropertyList::Dictionary dictionaryOf(plist_t node) {
    PropertyList::Dictionary dictionary;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const Allocated<void> owner(position);
    while (true) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, position, &key, &item);
        const Allocated<char> keyOwner(key);
        if (item == nullptr) return dictionary;
        dictionary.insert_or_assign(key != nullptr ? key : "", valueOf(item));
    }
}

std::string stringOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    return text != nullptr ? std::string(text, length) : std::string();
}

PropertyList valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return {value != 0};
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return {value};
        }
        case PLIST_UINT:
            return {integerOf(node)};
        case PLIST_DATE:
            return {dateOf(node)};
        case PLIST_DATA:
            return {dataOf(node)};
        case PLIST_ARRAY:
            return {arrayOf(node)};
        case PLIST_DICT:
            return {dictionaryOf(node)};
        default:
            return {stringOf(node)};
    }
}

/// The library's texts end at a zero; XML has no way to write one.
std::string withoutZeros(std::string text) {
    for (auto at = text.find('\0'); at != std::string::npos; at = text.find('\0', at)) text.replace(at, 1, "\uFFFD");
    return text;
}

plist_t nodeOf(const PropertyList& list);

struct NodeMaker {
    plist_t operator()(bool value) const { return plist_new_bool(value ? 1 : 0); }
    plist_t operator()(std::int64_t value) const { return plist_new_uint(static_cast<std::uint64_t>(value)); }
    plist_t operator()(double value) const { return plist_new_real(value); }
    plist_t operator()(const std::string& value) const { return plist_new_string(withoutZeros(value).c_str()); }
    plist_t operator()(const PropertyList::Data& value) const {
        return plist_new_data(reinterpret_cast<const char*>(value.data()), value.size());
    }
    plist_t operator()(const PropertyList::Array& value) const {
        plist_t array = plist_new_array();
        for (const PropertyList& item : value) plist_array_append_item(array, nodeOf(item));
        return array;
    }
    plist_t operator()(const PropertyList::Dictionary& value) const {
        plist_t dictionary = plist_new_dict();
        for (const auto& [key, item] : value) {
            plist_dict_set_item(dictionary, withoutZeros(key).c_str(), nodeOf(item));
        }
        return dictionary;
    }
};

plist_t nodeOf(const PropertyList& list) {
    return std::visit(NodeMaker(), list.value);
}

std::string_view withoutStart(std::string_view xml) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (xml.starts_with(kByteOrderMark)) xml.remove_prefix(kByteOrderMark.size());
    xml.remove_prefix(std::min(xml.find_first_not_of(" \t\r\n"), xml.size()));
    return xml;
}

std::optional<std::string> complaintAbout(std::string_view xml) {
    if (xml.size() > kLargestPropertyList) return "it is larger than 16 MiB";
    if (xml.starts_with("bplist")) return "it is a binary property list, only XML ones are read";
    if (!xml.starts_with("<?xml") && !xml.starts_with("<plist")) return "it is no XML property list";
    return complaintAboutXml(xml, kDeepestNesting);
}

std::nullopt_t damaged(Error& error, const std::string& reason) {
    constexpr int kDamaged = 2;
    error = {"PropertyList", kDamaged, formatted(localizedString("Sorry, the property list is damaged: %@"), {reason})};
    return std::nullopt;
}

}  // namespace

std::optional<PropertyList> parsePropertyList(std::string_view xml, Error& error) {
    xml = withoutStart(xml);
    if (const auto complaint = complaintAbout(xml)) return damaged(error, *complaint);
    const NumberLocaleScope numbers;
    plist_t root = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &root);
    const Node owner(root);
    if (!owner) return damaged(error, "a value in it is missing or malformed");
    return valueOf(root);
}

std::string serializePropertyList(const PropertyList& list) {
    const NumberLocaleScope numbers;
    const Node root(nodeOf(list));
    return xmlOf(root.get());
}

}  // namespace zelvane
