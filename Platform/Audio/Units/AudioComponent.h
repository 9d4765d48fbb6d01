// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Foundation/Error.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// Whether an instrument follows pitch bend well enough to play a tenth of a semitone.
enum class Microtones { unknown, no, yes };

/// An instrument that can be made.
struct AVAudioUnitComponent {
    std::string name;
    AudioComponentDescription audioComponentDescription;
    Microtones microtones = Microtones::yes;
    std::string refusal = {};  ///< why it is not offered, for one that lacks the flag "sandbox-safe"
};

/// A format's catalogue of instruments and the maker of their instances.
class AudioComponentProvider {
  public:
    virtual ~AudioComponentProvider() = default;

    /// What the user may install to have instruments of this format; shown when there are none at all.
    virtual std::string installationAdvice() const { return {}; }

    /// What can be made now. Control threads, one at a time, also while an instance is made.
    virtual std::vector<AVAudioUnitComponent> components() = 0;

    /// Makes one instance, not yet prepared. Null, with the reason, when it can't be made. Called on the loader thread.
    virtual std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) = 0;

    /// Whether an instance can be made and played in a process of its own, where nothing it does harms this one; false
    /// with the reason. A format whose instruments are part of the program makes one here. Called on the loader thread.
    virtual bool testOutOfProcess(const AudioComponentDescription& description, Error& error) {
        return instantiate(description, error) != nullptr;
    }

    /// Has the handler called, on any thread, when `components` has changed; an empty one ends that, and when
    /// this returns the handler before it is not called any more. Control threads, not from within a handler.
    virtual void setChangeHandler(const std::function<void()>& /*handler*/) {}
};

}  // namespace zelvane
