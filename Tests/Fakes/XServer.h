// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/ChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <optional>
#include <string>

namespace zelvane {

/// A display without a screen, on request with a window manager and a tray of the older kind.
class XServer {
  public:
    /// False when it did not start.
    bool start();
    bool startWindowManager();
    bool startTray();

    /// By which programs find it.
    ChildProcess::Environment environment() const { return {{"DISPLAY", _display}, {"WAYLAND_DISPLAY", ""}}; }

    /// Clicks on the first icon in the tray once there is one. False when none comes.
    bool clickTray() const;

    /// All windows there are, as xwininfo prints them.
    std::string windows() const;
    /// Whether a window is shown whose title is told by that regular expression.
    bool shows(const std::string& title) const;
    /// Presses keys after asking for the keyboard for the window of that title, which need not get it: to be repeated
    /// until there is an effect.
    bool press(const std::string& keys, const std::string& title) const;
    /// Runs xdotool with these words. True when it succeeded.
    bool act(const std::vector<std::string>& words) const;
    /// Takes a picture of the largest window that is shown with such a title (a regular expression). False when there
    /// is none.
    bool takePicture(const std::string& title, const std::string& file) const;

    /// Of the screen's upper right corner, where a tray's menus open.
    bool takePictureOfCorner(int width, int height, const std::string& file) const;

  private:
    /// Its number; empty when there is none of that title.
    std::string largestWindow(const std::string& title) const;

    TemporaryFolder _folder;
    std::string _display;
    std::optional<ChildProcess> _server, _windowManager, _tray;
};

}  // namespace zelvane
