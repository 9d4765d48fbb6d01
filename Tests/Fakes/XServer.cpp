// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/XServer.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace zelvane {

namespace {

constexpr double kPatience = 20;

/// Of the windows that xdotool described: its number.
std::string largestWindow(const std::string& descriptions) {
    std::pair<long, std::string> largest{0, ""};
    std::string window;
    long width = 0;
    std::istringstream lines(descriptions);
    for (std::string line; std::getline(lines, line);) {
        const std::string value = line.substr(line.find('=') + 1);
        if (line.starts_with("WINDOW=")) window = value;
        if (line.starts_with("WIDTH=")) width = std::stol(value);
        if (line.starts_with("HEIGHT=")) largest = std::max(largest, {width * std::stol(value), window});
    }
    return largest.second;
}

}  // namespace

bool XServer::start() {
    const std::string number = (_folder.path / "display").string();
    _server.emplace(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0", "2560x1600x24", "-nolisten",
                                             "tcp", "-noreset"},
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
        // An icon is a window in the tray's panel, and told of two lines below it: between them stands how many there
        // are.
        const std::string all = windows();
        const auto panel = all.find("\"panel\"");
        if (panel == std::string::npos) return false;
        const auto children = all.find('\n', panel) + 1, icon = all.find('\n', children) + 1;
        return all.substr(icon, all.find('\n', icon) - icon).find("\"zelvane\"") != std::string::npos;
    };
    return waitFor(hasIcon, kPatience) &&
           act({"search", "--classname", "^panel$", "mousemove", "--window", "%1", "8", "8", "click", "1"});
}

std::string XServer::windows() const {
    const std::string output = (_folder.path / "windows").string();
    ChildProcess::run({"xwininfo", "-root", "-tree"}, environment(), output);
    return TemporaryFolder::read(output);
}

bool XServer::act(const std::vector<std::string>& words) const {
    // It waits for what may never come.
    std::vector<std::string> command{"timeout", "5", "xdotool"};
    command.insert(command.end(), words.begin(), words.end());
    return ChildProcess::run(command, environment());
}

bool XServer::takePicture(const std::string& title, const std::string& file) const {
    const std::string output = (_folder.path / "geometry").string();
    if (!ChildProcess::run({"timeout", "5", "xdotool", "search", "--onlyvisible", "--name", title, "getwindowgeometry",
                            "--shell", "%@"},
                           environment(), output))
        return false;
    const std::string window = largestWindow(TemporaryFolder::read(output));
    return ChildProcess::run({"ffmpeg", "-y", "-f", "x11grab", "-draw_mouse", "0", "-window_id", window, "-i", _display,
                              "-frames:v", "1", file},
                             environment());
}

}  // namespace zelvane
