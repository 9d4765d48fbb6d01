// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioComponent.h"
#include "Platform/Audio/Units/InstrumentUnit.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvane {

/// What an instrument's editor is shown by; the shell knows the kinds.
class ViewController {
  public:
    virtual ~ViewController() = default;
};

/// An instrument's instance as a node of the graph. Shared by the slot that holds it, the graph, and what is under way
/// to either.
class AVAudioUnit {
  public:
    AVAudioUnit(AVAudioUnitComponent component, std::unique_ptr<Instrument> instrument);

    /// The display name; the component's.
    const std::string& name() const { return _component.name; }
    const AVAudioUnitComponent& component() const { return _component; }

    /// The unit underneath, which lives as long as the node.
    InstrumentUnit* audioUnit() { return &_unit; }

    /// The component's configuration dictionary, or none. Control threads.
    std::optional<PropertyList::Dictionary> copyConfigurationInfo() const {
        return _unit.instrument().configurationInfo();
    }

    /// Asks for the editor: the handler is called once, with null when there is none.
    void requestViewController(const std::function<void(std::shared_ptr<ViewController>)>& handler);

  private:
    const AVAudioUnitComponent _component;
    InstrumentUnit _unit;
};

}  // namespace zelvane
