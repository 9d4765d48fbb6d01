// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"

#include <functional>
#include <memory>
#include <utility>

namespace zelvane {

class FakeView final : public View {
  public:
    FakeView(int width, int height) : _width(width), _height(height) {}
    bool isHidden() const override { return _isHidden; }
    void setHidden(bool isHidden) override { _isHidden = isHidden; }
    int width() const override { return _width; }
    int height() const override { return _height; }
    void setNeedsDisplay() override {}

  private:
    const int _width, _height;
    bool _isHidden = false;
};

class FakeViewController final : public ViewController {
  public:
    explicit FakeViewController(std::shared_ptr<View> view = nullptr) : _view(std::move(view)) {}
    std::shared_ptr<View> view() override { return _view; }

  private:
    const std::shared_ptr<View> _view;
};

/// A desktop with an editor for every unit. They are asked for from the tenth unit down to the first.
class FakeViewControllers final : public ViewControllerProvider {
  public:
    using MakeView = std::function<std::shared_ptr<View>()>;
    explicit FakeViewControllers(MakeView makeView = [] { return nullptr; }) : _makeView(std::move(makeView)) {}

    bool hasViewController(const AVAudioUnitComponent&) override { return true; }
    void requestViewController(AVAudioUnit&, Handler handler) override {
        handler(std::make_shared<FakeViewController>(_makeView()));
    }

  private:
    const MakeView _makeView;
};

}  // namespace zelvane
