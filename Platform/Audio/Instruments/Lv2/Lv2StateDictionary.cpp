// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2StateDictionary.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <span>

namespace zelvane {

LV2_State_Status Lv2StateWriter::store(LV2_State_Handle handle, std::uint32_t key, const void* value, std::size_t size,
                                       std::uint32_t type, std::uint32_t flags) {
    const char* uri = lv2Uri(key);
    if (uri == nullptr || (value == nullptr && size > 0)) return LV2_STATE_ERR_UNKNOWN;
    if ((flags & LV2_STATE_IS_POD) == 0) return LV2_STATE_ERR_BAD_FLAGS;
    auto archive = archivedAtom(type, {static_cast<const std::byte*>(value), size});
    if (!archive) return LV2_STATE_ERR_BAD_TYPE;
    static_cast<Lv2StateWriter*>(handle)->_values[uri] = std::move(*archive);
    return LV2_STATE_SUCCESS;
}

Lv2StateReader::Lv2StateReader(const PropertyList::Dictionary& values) {
    for (const auto& [uri, archive] : values)
        if (auto value = unarchivedAtom(archive)) _values[lv2Urid(uri.c_str())] = std::move(*value);
}

const void* Lv2StateReader::retrieve(LV2_State_Handle handle, std::uint32_t key, std::size_t* size, std::uint32_t* type,
                                     std::uint32_t* flags) {
    const auto& values = static_cast<const Lv2StateReader*>(handle)->_values;
    const auto place = values.find(key);
    if (place == values.end()) return nullptr;
    *size = place->second.bytes.size();
    *type = place->second.type;
    *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
    return place->second.bytes.data();
}

}  // namespace zelvane
