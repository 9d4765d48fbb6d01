// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AudioComponent.h"
#include "Platform/Audio/Units/InstrumentUnit.h"
#include "Platform/Audio/Units/View.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace zelvane {

/// What an instrument's editor is shown by; the shell knows the kinds.
class ViewController {
  public:
    virtual ~ViewController() = default;
    /// The editor, or null. Main thread.
    virtual std::shared_ptr<View> view() = 0;
};

class AVAudioUnit;

/// Where a desktop offers editors: which instruments have one, and how it is had.
class ViewControllerProvider {
  public:
    using Handler = std::function<void(std::shared_ptr<ViewController>)>;

    virtual ~ViewControllerProvider() = default;

    /// Whether the instrument can be edited in a window here. Control threads.
    virtual bool hasViewController(const AVAudioUnitComponent& component) = 0;

    /// Makes the unit's editor and calls the handler once, on any thread, with null when there is none. Control
    /// threads.
    virtual void requestViewController(AVAudioUnit& unit, Handler handler) = 0;
};

/// An instrument's instance as a node of the graph. Shared by the slot that holds it, the graph, and what is under way
/// to either; an editor keeps it as long as it lasts.
class AVAudioUnit : public std::enable_shared_from_this<AVAudioUnit> {
  public:
    /// Without a provider of view controllers it has no editor.
    AVAudioUnit(AVAudioUnitComponent component, std::unique_ptr<Instrument> instrument,
                std::shared_ptr<ViewControllerProvider> viewControllers = nullptr);

    /// The display name; the component's.
    const std::string& name() const { return _component.name; }
    const AVAudioUnitComponent& component() const { return _component; }

    /// The unit underneath, which lives as long as the node.
    InstrumentUnit* audioUnit() { return &_unit; }

    /// How the log calls it.
    std::string description() const;

    /// The component's configuration dictionary, or none. "HasCustomView" tells whether there is an editor here.
    /// Control threads.
    std::optional<PropertyList::Dictionary> copyConfigurationInfo() const;

    /// Asks for the editor: the handler is called once, with null when there is none.
    void requestViewController(ViewControllerProvider::Handler handler);

  private:
    const AVAudioUnitComponent _component;
    InstrumentUnit _unit;
    const std::shared_ptr<ViewControllerProvider> _viewControllers;
};

}  // namespace zelvane
