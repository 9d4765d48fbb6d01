// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/AudioEngine.h"

namespace zelvane {

std::shared_ptr<View> AudioEngine::microUnitAUView(std::int32_t number) {
    const auto viewController = microUnitAUViewController(number);
    return viewController != nullptr ? viewController->view() : nullptr;
}

std::shared_ptr<audioEngineViewController> AudioEngine::microUnitAUViewController(std::int32_t number) {
    const MicroUnit& unit = microUnitFromNumber(number);
    return unit.hasCustomView() ? unit.viewController() : nullptr;
}

void AudioEngine::setMicroUnitAUViewController(const std::shared_ptr<audioEngineViewController>& viewController,
                                               std::int32_t number) {
    MicroUnit& unit = microUnitFromNumber(number);
    if (unit.viewController() != viewController) unit.setViewController(viewController);
}

void AudioEngine::microUnitAuViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode) {
    if (synthNode == nullptr) return;
    _application.mainRunLoop().perform([this] { rebuildAUViews(); }, RunLoop::Wait::yes);
}

// The first unit's comes last, so that it lies on top.
void AudioEngine::rebuildAUViews() {
    _enabledAUPropertyIDs.drop();
    _application.clearAUViews();
    for (auto number = static_cast<std::int32_t>(kMicroUnitCount); number >= 2; --number) {
        if (const auto view = microUnitAUView(number)) _application.embedAUView(view);
    }
    if (const auto first = microUnitSynthNode(1)) _application.auViewDidChange(first, microUnitAUView(1));
}

}  // namespace zelvane
