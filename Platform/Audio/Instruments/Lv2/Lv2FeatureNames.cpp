// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/Lv2FeatureNames.h"

#include <lv2/buf-size/buf-size.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <set>

namespace zelvane {

bool isLv2Feature(const std::string& uri) {
    // Some only say how a host behaves: buffers are never shared, blocks never cut without need, time is real.
    static const auto& names = *new std::set<std::string>{LV2_URID__map,
                                                          LV2_URID__unmap,
                                                          LV2_OPTIONS__options,
                                                          LV2_BUF_SIZE__boundedBlockLength,
                                                          LV2_BUF_SIZE_PREFIX "coarseBlockLength",
                                                          LV2_WORKER__schedule,
                                                          LV2_LOG__log,
                                                          LV2_STATE__makePath,
                                                          LV2_STATE__mapPath,
                                                          LV2_STATE__freePath,
                                                          LV2_STATE__loadDefaultState,
                                                          LV2_STATE__threadSafeRestore,
                                                          LV2_CORE__isLive,
                                                          LV2_CORE__hardRTCapable,
                                                          LV2_CORE__inPlaceBroken};
    return names.contains(uri);
}

}  // namespace zelvane
