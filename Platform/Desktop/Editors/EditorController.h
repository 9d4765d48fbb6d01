// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Platform/Foundation/RunLoop.h"

#include <memory>

namespace zelvane {

class EditorTrials;

/// Makes the editor of a unit when its view is asked for, and keeps it. It is made and destroyed on any thread; the
/// view ends on the main thread, and with it what it keeps of the unit.
class EditorController final : public ViewController {
  public:
    EditorController(RunLoop& mainRunLoop, std::shared_ptr<EditorTrials> trials, std::weak_ptr<AVAudioUnit> node);

    std::shared_ptr<View> view() override;

  private:
    RunLoop& _mainRunLoop;
    const std::shared_ptr<EditorTrials> _trials;
    const std::weak_ptr<AVAudioUnit> _node;
    std::shared_ptr<View> _view;  // main thread
};

}  // namespace zelvane
