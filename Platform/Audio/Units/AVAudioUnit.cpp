// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AVAudioUnit.h"

namespace zelvane {

AVAudioUnit::AVAudioUnit(AVAudioUnitComponent component, std::unique_ptr<Instrument> instrument)
    : _component(std::move(component)), _unit(std::move(instrument)) {}

void AVAudioUnit::requestViewController(const std::function<void(std::shared_ptr<ViewController>)>& handler) {
    handler(nullptr);
}

}  // namespace zelvane
