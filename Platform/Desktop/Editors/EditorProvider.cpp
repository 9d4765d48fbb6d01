// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Desktop/Editors/EditorProvider.h"

#include "Platform/Desktop/Editors/EditorController.h"
#include "Platform/Desktop/Editors/EditorTrials.h"
#include "Platform/Foundation/Folders.h"

namespace zelvane {

namespace {

class EditorProvider final : public ViewControllerProvider {
  public:
    explicit EditorProvider(RunLoop& mainRunLoop) : _mainRunLoop(mainRunLoop) {}

    bool hasViewController(const AVAudioUnitComponent& /*component*/) override { return true; }

    // The controller alone: its widgets are the main thread's to make, when they are to be seen.
    void requestViewController(AVAudioUnit& unit, Handler handler) override {
        handler(std::make_shared<EditorController>(_mainRunLoop, _trials, unit.weak_from_this()));
    }

  private:
    RunLoop& _mainRunLoop;
    const std::shared_ptr<EditorTrials> _trials = std::make_shared<EditorTrials>(userSupportFolder());
};

}  // namespace

std::shared_ptr<ViewControllerProvider> makeEditorProvider(RunLoop& mainRunLoop) {
    return std::make_shared<EditorProvider>(mainRunLoop);
}

}  // namespace zelvane
