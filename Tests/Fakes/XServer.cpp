// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/XServer.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace zelvane {

namespace {

constexpr double kPatience = 20;
constexpr int kWidth = 2560;  // pixels

/// Of xdotool's description of a window: width times height.
long areaOf(const std::string& description) {
    std::istringstream lines(description);
    long width = 0, height = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("WIDTH=")) width = std::stol(line.substr(6));
        if (line.starts_with("HEIGHT=")) height = std::stol(line.substr(7));
    }
    return width * height;
}

}  // namespace

bool XServer::start() {
    const std::string number = (_folder.path / "display").string();
    _server.emplace(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0",
                                             std::to_string(kWidth) + "x1600x24", "-nolisten", "tcp", "-noreset"},
                    ChildProcess::Environment{}, number);
    const auto isTold = [&] { return TemporaryFolder::read(number).ends_with('\n'); };
    if (!waitFor(isTold, kPatience)) return false;
    _display = ":" + TemporaryFolder::read(number);
    _display.pop_back();
    return true;
}

bool XServer::startWindowManager() {
    _windowManager.emplace(std::vector<std::string>{"openbox"}, environment());
    return waitFor(
        [this] {
            const std::string output = (_folder.path / "manager").string();
            return ChildProcess::run({"xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}, environment(), output) &&
                   TemporaryFolder::read(output).find("window id") != std::string::npos;
        },
        kPatience);
}

bool XServer::startTray() {
    _tray.emplace(std::vector<std::string>{"trayer", "--edge", "top", "--align", "right", "--widthtype", "request"},
                  environment());
    return waitFor([this] { return windows().find("\"trayer\"") != std::string::npos; }, kPatience);
}

bool XServer::clickTray() const {
    const auto hasIcon = [this] {
        // An icon is a window in the tray's panel, and told of some lines below it.
        const std::string all = windows();
        const auto panel = all.find("\"panel\"");
        return panel != std::string::npos && all.substr(panel, 400).find("\"zelvane\"") != std::string::npos;
    };
    return waitFor(hasIcon, kPatience) &&
           act({"search", "--classname", "^panel$", "mousemove", "--window", "%1", "8", "8", "click", "1"});
}

std::string XServer::windows() const {
    const std::string output = (_folder.path / "windows").string();
    ChildProcess::run({"xwininfo", "-root", "-tree"}, environment(), output);
    return TemporaryFolder::read(output);
}

bool XServer::shows(const std::string& title) const {
    return act({"search", "--onlyvisible", "--name", title});
}

bool XServer::press(const std::string& keys, const std::string& title) const {
    const bool isPressed =
        act({"search", "--onlyvisible", "--name", title, "windowactivate", "sleep", "0.1", "key", keys});
    // A window that closes at once takes the tool along, which leaves the keys down.
    act({"keyup", keys});
    return isPressed;
}

bool XServer::act(const std::vector<std::string>& words) const {
    // It waits for what may never come.
    std::vector<std::string> command{"timeout", "5", "xdotool"};
    command.insert(command.end(), words.begin(), words.end());
    return ChildProcess::run(command, environment());
}

std::string XServer::largestWindow(const std::string& title) const {
    const std::string output = (_folder.path / "found").string();
    ChildProcess::run({"timeout", "5", "xdotool", "search", "--onlyvisible", "--name", title}, environment(), output);
    std::istringstream windows(TemporaryFolder::read(output));
    std::pair<long, std::string> largest{0, ""};
    for (std::string window; std::getline(windows, window);) {
        ChildProcess::run({"xdotool", "getwindowgeometry", "--shell", window}, environment(), output);
        largest = std::max(largest, {areaOf(TemporaryFolder::read(output)), window});
    }
    return largest.second;
}

bool XServer::takePicture(const std::string& title, const std::string& file) const {
    const std::string window = largestWindow(title);
    return !window.empty() && ChildProcess::run({"ffmpeg", "-y", "-f", "x11grab", "-draw_mouse", "0", "-window_id",
                                                 window, "-i", _display, "-frames:v", "1", file},
                                                environment());
}

bool XServer::takePictureOfCorner(int width, int height, const std::string& file) const {
    return ChildProcess::run({"ffmpeg", "-y", "-f", "x11grab", "-draw_mouse", "0", "-video_size",
                              std::to_string(width) + "x" + std::to_string(height), "-i",
                              _display + "+" + std::to_string(kWidth - width) + ",0", "-frames:v", "1", file},
                             environment());
}

}  // namespace zelvane
