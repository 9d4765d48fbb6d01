// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/AtomArchive.h"
#include "Platform/Foundation/PropertyList.h"

#include <lv2/state/state.h>

#include <map>

namespace zelvane {

/// Takes what a plug-in saves, each value under the URI of its key.
class Lv2StateWriter {
  public:
    /// The function that the plug-in calls, with the writer as its handle.
    static LV2_State_Status store(LV2_State_Handle handle, std::uint32_t key, const void* value, std::size_t size,
                                  std::uint32_t type, std::uint32_t flags);

    PropertyList::Dictionary take() { return std::move(_values); }

  private:
    PropertyList::Dictionary _values;
};

/// Gives a plug-in what it once saved. Values that can't be read count as absent.
class Lv2StateReader {
  public:
    explicit Lv2StateReader(const PropertyList::Dictionary& values);

    /// The function that the plug-in calls, with the reader as its handle.
    static const void* retrieve(LV2_State_Handle handle, std::uint32_t key, std::size_t* size, std::uint32_t* type,
                                std::uint32_t* flags);

  private:
    std::map<std::uint32_t, AtomValue> _values;
};

}  // namespace zelvane
