// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Log.h"
#include "Platform/Audio/Instruments/Lv2/Lv2StateFiles.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Worker.h"

#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <array>
#include <vector>

namespace zelvane {

/// What an instance is offered. It has to outlive the instance, which keeps pointers into it.
class Lv2Features {
  public:
    static constexpr std::uint32_t kMostFrames = 1024;      ///< in one run
    static constexpr std::uint32_t kSequenceBytes = 65536;  ///< of a buffer for events

    Lv2Features(float sampleRate, Lv2Log& log, Lv2Worker& worker, Lv2StateFiles& files);
    Lv2Features(const Lv2Features&) = delete;
    Lv2Features& operator=(const Lv2Features&) = delete;

    /// Ends with null.
    const LV2_Feature* const* list() const { return _list.data(); }
    LV2_URID_Map* map() { return &_map; }

  private:
    const float _sampleRate;
    std::array<LV2_Options_Option, 6> _options;
    LV2_URID_Map _map;
    LV2_URID_Unmap _unmap;
    std::vector<LV2_Feature> _features;
    std::vector<const LV2_Feature*> _list;
};

}  // namespace zelvane
