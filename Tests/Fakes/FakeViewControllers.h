// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"

#include <memory>
#include <utility>

namespace zelvane {

class FakeViewController final : public ViewController {
  public:
    std::shared_ptr<View> view() override { return nullptr; }
};

/// A desktop whose editors show nothing.
class FakeViewControllers final : public ViewControllerProvider {
  public:
    bool hasViewController(const AVAudioUnitComponent&) override { return true; }
    void requestViewController(AVAudioUnit&, Handler handler) override {
        handler(std::make_shared<FakeViewController>());
    }
};

}  // namespace zelvane
