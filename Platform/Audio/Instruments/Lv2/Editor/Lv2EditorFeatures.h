// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <lilv/lilv.h>
#include <lv2/data-access/data-access.h>
#include <lv2/options/options.h>
#include <lv2/ui/ui.h>
#include <lv2/urid/urid.h>

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

namespace zelvane {

/// What a plug-in's editor is offered. It has to outlive the editor, which keeps pointers into it.
class Lv2EditorFeatures {
  public:
    struct Values {
        std::uint32_t parentWindow;
        float sampleRate;
        float scaleFactor;
        LilvInstance* instance;
    };

    static bool isOffered(std::string_view feature);

    Lv2EditorFeatures(const Values& values, LV2UI_Resize resize, LV2UI_Port_Map portMap);
    Lv2EditorFeatures(const Lv2EditorFeatures&) = delete;
    Lv2EditorFeatures& operator=(const Lv2EditorFeatures&) = delete;

    /// Ends with null.
    const LV2_Feature* const* list() const { return _list.data(); }

  private:
    const float _sampleRate, _scaleFactor;
    std::array<LV2_Options_Option, 4> _options;
    LV2_URID_Map _map;
    LV2_URID_Unmap _unmap;
    LV2UI_Resize _resize;
    LV2UI_Port_Map _portMap;
    LV2UI_Touch _touch;
    LV2_Extension_Data_Feature _dataAccess;
    std::vector<LV2_Feature> _features;
    std::vector<const LV2_Feature*> _list;
};

}  // namespace zelvane
