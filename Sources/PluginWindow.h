// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/View.h"

#include <memory>
#include <string>
#include <vector>

namespace zelvane {

/// Asked when the user closes the window.
class PluginWindowDelegate {
  public:
    virtual ~PluginWindowDelegate() = default;
    /// False keeps it open. Main thread.
    virtual bool windowShouldClose() = 0;
};

/// The window in which the editors of the ten units are stacked, with the choice of the unit and the button that sends
/// the micro tunings above them. Main thread.
class PluginWindow {
  public:
    /// Pixels above the editor.
    static constexpr int kControlsHeight = 39;

    virtual ~PluginWindow() = default;

    /// Null for none; it outlives the window or is taken away before.
    virtual void setDelegate(PluginWindowDelegate* delegate) = 0;

    /// The editors in it; the two controls are not among them.
    virtual std::vector<std::shared_ptr<View>> subviews() const = 0;
    virtual void addSubview(const std::shared_ptr<View>& view) = 0;
    virtual void removeSubview(const View& view) = 0;
    /// Of the whole content, in pixels, of which the two controls need `kControlsHeight`.
    virtual void setContentSize(int width, int height) = 0;
    virtual void setTitle(const std::string& title) = 0;

    /// The chosen unit's place among the ten, from 0.
    virtual int indexOfSelectedItem() const = 0;
    virtual void selectItemAtIndex(int index) = 0;

    virtual void makeKeyAndOrderFront() = 0;
    virtual void orderOut() = 0;
};

}  // namespace zelvane
