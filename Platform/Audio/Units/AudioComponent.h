// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"
#include "Platform/Audio/Units/Instrument.h"
#include "Platform/Foundation/Error.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// An instrument that can be made.
struct AVAudioUnitComponent {
    std::string name;
    AudioComponentDescription audioComponentDescription;
};

/// A format's catalogue of instruments and the maker of their instances.
class AudioComponentProvider {
  public:
    virtual ~AudioComponentProvider() = default;

    /// What the user may install to have instruments of this format; shown when there are none at all.
    virtual std::string installationAdvice() const { return {}; }

    /// What can be made now. Control threads.
    virtual std::vector<AVAudioUnitComponent> components() = 0;

    /// Makes one instance, not yet prepared. Null, with the reason, when it can't be made. Called on the loader thread.
    virtual std::unique_ptr<Instrument> instantiate(const AudioComponentDescription& description, Error& error) = 0;
};

}  // namespace zelvane
