// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Instruments/Lv2/Lv2Features.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Log.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Ports.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Source.h"
#include "Platform/Audio/Instruments/Lv2/Lv2StateFiles.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Worker.h"

#include <functional>
#include <memory>
#include <string>

namespace zelvane {

/// A plug-in's instance at one sample rate, with all that it needs around it. Made, saved, restored and destroyed by
/// control threads; run by the audio thread. Nobody restores while it runs: that is the owner's to see to.
class Lv2Instance {
  public:
    /// Takes a control port's value by the port's symbol.
    using SetControl = std::function<void(const std::string& symbol, float value)>;

    /// Null, with the reason, when the plug-in refuses.
    static std::unique_ptr<Lv2Instance> make(std::shared_ptr<Lv2Source> source, double sampleRate, Error& error);
    ~Lv2Instance();
    Lv2Instance(const Lv2Instance&) = delete;
    Lv2Instance& operator=(const Lv2Instance&) = delete;

    double sampleRate() const { return _sampleRate; }
    /// For the plug-in's own editor.
    LilvInstance* lilvInstance() const { return _instance; }
    Lv2Ports& ports() noexcept { return _ports; }
    Lv2Log& log() { return _log; }
    const Lv2Worker& worker() const noexcept { return _worker; }

    /// Renders at most `Lv2Features::kMostFrames` frames. Audio thread; what the plug-in does meanwhile is its own.
    void run(std::uint32_t frames) noexcept;

    /// The plug-in's own state, its files among it, for any machine.
    PropertyList::Dictionary savedState();
    /// Takes a state back; from an empty one the plug-in goes back to its defaults.
    void restore(const PropertyList::Dictionary& state);

    /// Applies the state of that URI in the source's bundles: a preset, or what the plug-in shall start with. False
    /// when there is none.
    bool applyState(const std::string& uri, const SetControl& setControl);

  private:
    Lv2Instance(std::shared_ptr<Lv2Source> source, double sampleRate);
    bool instantiate();

    const std::shared_ptr<Lv2Source> _source;
    const double _sampleRate;
    Lv2Log _log;
    Lv2StateFiles _files;
    Lv2Ports _ports;
    Lv2Worker _worker;
    Lv2Features _features;
    LilvInstance* _instance = nullptr;
};

}  // namespace zelvane
