// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Foundation/RunLoop.h"

#include <memory>

namespace zelvane {

/// A desktop's editors, which every instrument has one of: its own where that can be shown, else one made of its
/// parameters. What it makes has to end before the application object of the desktop; the run loop is the main
/// thread's.
std::shared_ptr<ViewControllerProvider> makeEditorProvider(RunLoop& mainRunLoop);

}  // namespace zelvane
