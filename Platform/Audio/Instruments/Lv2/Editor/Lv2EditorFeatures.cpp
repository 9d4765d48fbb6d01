// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Editor/Lv2EditorFeatures.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <lv2/atom/atom.h>
#include <lv2/instance-access/instance-access.h>
#include <lv2/parameters/parameters.h>

#include <algorithm>
#include <bit>

namespace zelvane {

namespace {

constexpr float kUpdatesInASecond = 30;

constexpr std::array kOffered{std::string_view(LV2_URID__map),
                              std::string_view(LV2_URID__unmap),
                              std::string_view(LV2_OPTIONS__options),
                              std::string_view(LV2_UI__parent),
                              std::string_view(LV2_UI__resize),
                              std::string_view(LV2_UI__portMap),
                              std::string_view(LV2_UI__idleInterface),
                              std::string_view(LV2_UI__touch),
                              std::string_view(LV2_UI__noUserResize),
                              std::string_view(LV2_UI__fixedSize),
                              std::string_view(LV2_UI_PREFIX "makeResident"),
                              std::string_view(LV2_INSTANCE_ACCESS_URI),
                              std::string_view(LV2_DATA_ACCESS_URI)};

LV2_URID map(LV2_URID_Map_Handle, const char* uri) {
    return lv2Urid(uri);
}

const char* unmap(LV2_URID_Unmap_Handle, LV2_URID urid) {
    return lv2Uri(urid);
}

// Whether a control is being held: here an edit counts when it is made.
void touch(LV2UI_Feature_Handle, std::uint32_t, bool) {}

LV2_Options_Option option(const char* key, const float& value) {
    return {LV2_OPTIONS_INSTANCE, 0, lv2Urid(key), sizeof value, lv2Urid(LV2_ATOM__Float), &value};
}

}  // namespace

bool Lv2EditorFeatures::isOffered(std::string_view feature) {
    return std::find(kOffered.begin(), kOffered.end(), feature) != kOffered.end();
}

Lv2EditorFeatures::Lv2EditorFeatures(const Values& values, LV2UI_Resize resize, LV2UI_Port_Map portMap)
    : _sampleRate(values.sampleRate),
      _scaleFactor(values.scaleFactor),
      _options{option(LV2_PARAMETERS__sampleRate, _sampleRate), option(LV2_UI__scaleFactor, _scaleFactor),
               option(LV2_UI__updateRate, kUpdatesInASecond), LV2_Options_Option{}},
      _map{nullptr, &zelvane::map},
      _unmap{nullptr, &unmap},
      _resize(resize),
      _portMap(portMap),
      _touch{nullptr, &touch},
      _dataAccess{lilv_instance_get_descriptor(values.instance)->extension_data},
      _features{{LV2_URID__map, &_map},
                {LV2_URID__unmap, &_unmap},
                {LV2_OPTIONS__options, _options.data()},
                // A window is a number that is handed on as a pointer.
                {LV2_UI__parent, std::bit_cast<void*>(std::uintptr_t{values.parentWindow})},
                {LV2_UI__resize, &_resize},
                {LV2_UI__portMap, &_portMap},
                {LV2_UI__idleInterface, nullptr},
                {LV2_UI__touch, &_touch},
                {LV2_INSTANCE_ACCESS_URI, lilv_instance_get_handle(values.instance)},
                {LV2_DATA_ACCESS_URI, &_dataAccess}} {
    for (const LV2_Feature& feature : _features) _list.push_back(&feature);
    _list.push_back(nullptr);
}

}  // namespace zelvane
