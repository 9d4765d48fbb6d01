// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/AVAudioUnit.h"

#include <sstream>
#include <utility>

namespace zelvane {

AVAudioUnit::AVAudioUnit(AVAudioUnitComponent component, std::unique_ptr<Instrument> instrument,
                         std::shared_ptr<ViewControllerProvider> viewControllers)
    : _component(std::move(component)), _unit(std::move(instrument)), _viewControllers(std::move(viewControllers)) {}

std::string AVAudioUnit::description() const {
    std::ostringstream text;
    text << "<AVAudioUnit: " << this << '>';
    return text.str();
}

std::optional<PropertyList::Dictionary> AVAudioUnit::copyConfigurationInfo() const {
    auto configuration = _unit.instrument().configurationInfo();
    if (!configuration && _viewControllers == nullptr) return std::nullopt;
    if (!configuration) configuration.emplace();
    const bool hasView = _viewControllers != nullptr && _viewControllers->hasViewController(_component);
    configuration->insert_or_assign("HasCustomView", PropertyList{hasView});
    return configuration;
}

void AVAudioUnit::requestViewController(ViewControllerProvider::Handler handler) {
    if (_viewControllers == nullptr) return handler(nullptr);
    _viewControllers->requestViewController(*this, std::move(handler));
}

}  // namespace zelvane
