// SPDX-License-Identifier: GPL-3.0-or-later
#include "Benchmarks/Desktop/OpenedWindows.h"

#include "Benchmarks/Common/Require.h"

namespace zelvane {

namespace {

constexpr double kPatience = 60;
constexpr int kSteps = 20, kStep = 15;  // pixels

}  // namespace

bool OpenedWindows::isShown(const std::string& title) const {
    return _display.shows(title);
}

void OpenedWindows::open(const std::string& keys, const std::string& title) const {
    const auto isOpened = [&] {
        if (isShown(title)) return true;
        _display.press(keys, "^Zelvane$");
        return false;
    };
    require(waitFor(isOpened, kPatience), title + " is not opened");
}

void OpenedWindows::move(const std::string& title) const {
    for (int step = 1; step <= kSteps; ++step)
        _display.act({"search", "--onlyvisible", "--name", title, "windowmove", std::to_string(step * kStep),
                      std::to_string(step * kStep)});
}

void OpenedWindows::close(const std::string& keys, const std::string& title) const {
    const auto isClosed = [&] {
        if (!isShown(title)) return true;
        _display.press(keys, title);
        return false;
    };
    require(waitFor(isClosed, kPatience), title + " is not closed");
}

}  // namespace zelvane
