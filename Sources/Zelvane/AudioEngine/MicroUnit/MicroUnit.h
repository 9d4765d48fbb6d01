// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Sources/Zelvane/AudioEngine/audioEngineViewController/audioEngineViewController.h"

#include <memory>
#include <mutex>

namespace zelvane {

/// One of the ten slots: an instrument's instance, or nothing yet. The player thread routes notes through it while the
/// main thread may empty it, so what is read is a copy. Control threads only.
class MicroUnit {
  public:
    struct Contents {
        bool hasCustomView = false;
        bool hasSynthNode = false;
        std::shared_ptr<AVAudioUnit> synthNode;
        std::shared_ptr<audioEngineViewController> viewController;
    };

    bool hasCustomView() const { return contents().hasCustomView; }
    bool hasSynthNode() const { return contents().hasSynthNode; }
    std::shared_ptr<AVAudioUnit> synthNode() const {
        const std::lock_guard lock(_mutex);
        return _contents.synthNode;
    }
    std::shared_ptr<audioEngineViewController> viewController() const { return contents().viewController; }

    void setViewController(std::shared_ptr<audioEngineViewController> viewController) {
        const std::lock_guard lock(_mutex);
        std::swap(_contents.viewController, viewController);
        _contents.hasCustomView = true;
    }

    /// Fills the slot, or empties it with fresh contents.
    void setContents(Contents contents) {
        const std::lock_guard lock(_mutex);
        std::swap(_contents, contents);
    }

  private:
    Contents contents() const {
        const std::lock_guard lock(_mutex);
        return _contents;
    }

    mutable std::mutex _mutex;
    Contents _contents;
};

}  // namespace zelvane
