// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Entry.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Foundation/Error.h"

#include <memory>

namespace zelvane {

/// Makes an instance of an LV2 instrument in this process, ready to be prepared. Null, with the reason, when its
/// description can't be read, when it requires what is not offered here, or when it refuses. Runs the plug-in's own
/// code, which may take seconds. Control threads, several at a time.
std::unique_ptr<Instrument> makeLv2Instrument(const Lv2Entry& entry, Error& error);

}  // namespace zelvane
