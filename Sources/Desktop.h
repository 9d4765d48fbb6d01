// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Foundation/RunLoop.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/Shell.h"

#include <memory>

namespace zelvane {

/// What the module with the desktop's part gives the program that loads it. Main thread.
class Desktop {
  public:
    virtual ~Desktop() = default;
    virtual Shell& shell() = 0;
    /// Where instruments have their editors from.
    virtual std::shared_ptr<ViewControllerProvider> viewControllers() = 0;
};

/// What the program lends to the module, which it outlives.
struct DesktopServices {
    RunLoop& mainRunLoop;
    UserDefaults& defaults;
};

/// The module's one function, by this name. Null when no display can be reached.
extern "C" Desktop* zelvaneMakeDesktop(const DesktopServices& services);

}  // namespace zelvane
