// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2Features.h"

#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/parameters/parameters.h>

namespace zelvane {

namespace {

constexpr std::int32_t kFewest = 1;
constexpr std::int32_t kMost = Lv2Features::kMostFrames;
constexpr std::int32_t kSequence = Lv2Features::kSequenceBytes;

LV2_URID map(LV2_URID_Map_Handle, const char* uri) {
    return lv2Urid(uri);
}

const char* unmap(LV2_URID_Unmap_Handle, LV2_URID urid) {
    return lv2Uri(urid);
}

LV2_Options_Option option(const char* key, const float& value) {
    return {LV2_OPTIONS_INSTANCE, 0, lv2Urid(key), sizeof value, lv2Urid(LV2_ATOM__Float), &value};
}

LV2_Options_Option option(const char* key, const std::int32_t& value) {
    return {LV2_OPTIONS_INSTANCE, 0, lv2Urid(key), sizeof value, lv2Urid(LV2_ATOM__Int), &value};
}

}  // namespace

Lv2Features::Lv2Features(float sampleRate, Lv2Log& log, Lv2Worker& worker, Lv2StateFiles& files)
    : _sampleRate(sampleRate),
      _options{option(LV2_PARAMETERS__sampleRate, _sampleRate), option(LV2_BUF_SIZE__minBlockLength, kFewest),
               option(LV2_BUF_SIZE__maxBlockLength, kMost),
               // Some make room for the nominal length only.
               option(LV2_BUF_SIZE__nominalBlockLength, kMost), option(LV2_BUF_SIZE__sequenceSize, kSequence),
               LV2_Options_Option{}},
      _map{nullptr, &zelvane::map},
      _unmap{nullptr, &unmap},
      _features{{LV2_URID__map, &_map},
                {LV2_URID__unmap, &_unmap},
                {LV2_OPTIONS__options, _options.data()},
                {LV2_BUF_SIZE__boundedBlockLength, nullptr},
                {LV2_BUF_SIZE_PREFIX "coarseBlockLength", nullptr},
                {LV2_WORKER__schedule, worker.feature()},
                {LV2_LOG__log, log.feature()},
                {LV2_STATE__makePath, files.makeFeature()},
                {LV2_STATE__mapPath, files.mapFeature()},
                {LV2_STATE__freePath, files.freeFeature()},
                {LV2_STATE__loadDefaultState, nullptr},
                {LV2_STATE__threadSafeRestore, nullptr}} {
    for (const LV2_Feature& feature : _features) _list.push_back(&feature);
    _list.push_back(nullptr);
}

}  // namespace zelvane
