// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/PluginWindow.h"
#include "Sources/StatusItem.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// What is kept of a status item where there is no desktop to show it.
class SilentStatusItem final : public StatusItem {
  public:
    StatusImage image() const override { return _image; }
    void setImage(StatusImage image) override { _image = image; }
    void setEnabled(bool isEnabled) override { _isEnabled = isEnabled; }
    bool isEnabled() const { return _isEnabled; }

  private:
    StatusImage _image = StatusImage::statusIsWaiting;
    bool _isEnabled = true;
};

class SilentMenuItem final : public MenuItem {
  public:
    std::string title() const override { return _title; }
    void setTitle(const std::string& title) override { _title = title; }

  private:
    std::string _title;
};

class SilentPluginWindow final : public PluginWindow {
  public:
    void setDelegate(PluginWindowDelegate* delegate) override { _delegate = delegate; }
    PluginWindowDelegate* delegate() const { return _delegate; }
    std::vector<std::shared_ptr<View>> subviews() const override { return _subviews; }
    void addSubview(const std::shared_ptr<View>& view) override { _subviews.push_back(view); }
    void removeSubview(const View& view) override {
        std::erase_if(_subviews, [&](const auto& subview) { return subview.get() == &view; });
    }
    void setContentSize(int width, int height) override {
        _width = width;
        _height = height;
    }
    int width() const { return _width; }
    int height() const { return _height; }
    void setTitle(const std::string& title) override { _title = title; }
    const std::string& title() const { return _title; }
    int indexOfSelectedItem() const override { return _selectedItem; }
    void selectItemAtIndex(int index) override { _selectedItem = index; }
    void makeKeyAndOrderFront() override { _isVisible = true; }
    void orderOut() override { _isVisible = false; }
    bool isVisible() const { return _isVisible; }

  private:
    PluginWindowDelegate* _delegate = nullptr;
    std::vector<std::shared_ptr<View>> _subviews;
    int _width = 0, _height = 0, _selectedItem = 0;
    std::string _title;
    bool _isVisible = false;
};

}  // namespace zelvane
