// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures of the player's windows, taken of the real program on a display without a screen: SCREENSHOTS FOLDER.
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/StatusNotifierWatcher.h"
#include "Tests/Fakes/XServer.h"

#include <QCoreApplication>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

namespace zelvane {
namespace {

// Some instruments take their time, above all on a busy machine.
constexpr double kPatience = 120;

/// A desktop that speaks a language, in a shade and at a scale.
struct Look {
    std::string name, language, scale;
    bool isDark = false;
};

const Look kLooks[] = {
    {"light", "en", "1", false},
    {"dark", "en", "1", true},
    {"light-de-200", "de", "2", false},
    {"dark-fr-200", "fr", "2", true},
};

/// Colours as KDE's settings have them, which Qt reads.
constexpr const char* kDarkColours =
    "[Colors:Window]\nBackgroundNormal=42,46,50\nForegroundNormal=252,252,252\n"
    "[Colors:View]\nBackgroundNormal=27,30,32\nBackgroundAlternate=35,38,41\nForegroundNormal=252,252,252\n"
    "[Colors:Button]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n"
    "[Colors:Selection]\nBackgroundNormal=61,174,233\nForegroundNormal=252,252,252\n"
    "[Colors:Tooltip]\nBackgroundNormal=49,54,59\nForegroundNormal=252,252,252\n";

class Photographer {
  public:
    Photographer(const Look& look, std::filesystem::path folder)
        : _look(look), _folder(std::move(folder)), _isReady(_bus.start() && _display.start() && _sound.start()) {
        std::filesystem::create_directories(_home.path / "config");
        if (look.isDark) std::ofstream(_home.path / "config" / "kdeglobals") << kDarkColours;
    }

    bool run() {
        return _isReady && _display.startWindowManager() && takeOfWindows() &&
               takeOfEditor("DLSMusicDevice", "soundfont") && takeOfEditor("MDA JX10", "generated") &&
               takeOfEditor("synthv1", "native") && takeOfScan() && takeOfMenu();
    }

  private:
    ChildProcess::Environment environment() const {
        auto all = _display.environment();
        all.merge(_bus.environment());
        all["LC_ALL"] = "C.UTF-8";
        all["LANGUAGE"] = _look.language;
        all["QT_SCALE_FACTOR"] = _look.scale;
        all["QT_QPA_PLATFORM"] = "";
        all["XDG_RUNTIME_DIR"] = _home.path;
        if (_look.isDark) {
            all["XDG_CURRENT_DESKTOP"] = "KDE";
            all["KDE_SESSION_VERSION"] = "5";
            all["XDG_CONFIG_DIRS"] = _home.path / "config";
        }
        return all;
    }

    RunningPlayer start(const std::string& instrument = "DLSMusicDevice",
                        const std::string& program = ZELVANE_PROGRAM) const {
        std::vector<std::string> bundles;
        if (instrument.starts_with("MDA ")) bundles.emplace_back("mda.lv2");
        if (instrument == "synthv1") bundles = {"synthv1.lv2", "core.lv2"};
        return RunningPlayer({"--set", "autolaunch=1", "--set", "musicDevice=" + instrument}, bundles, environment(),
                             program);
    }

    bool takeOfWindows() {
        const auto player = start();
        return player.isListening() && player.startAgain().first == 0 && take("Zelvane$", "fallback-window") &&
               takeAfter("ctrl+comma", "(Zelvane Pref|Zelvane-Einst|Préf)", "preferences");
    }

    bool takeOfEditor(const std::string& instrument, const std::string& name) {
        const auto player = start(instrument);
        return player.isListening() && player.startAgain().first == 0 &&
               takeAfter("ctrl+i", "(.*)" + instrument, "editor-" + name);
    }

    /// Of an instrument whose properties nobody has listed.
    bool takeOfScan() {
        const TemporaryFolder folder;
        const auto player = start("DLSMusicDevice", RunningPlayer::copyWithoutLists(folder.path));
        return take("(Scan DLS|Eigenschaften|Analyse)", "scan-window");
    }

    /// As it opens from a tray of the older kind: others draw the menu themselves.
    bool takeOfMenu() {
        if (!_display.startTray()) return false;
        const auto player = start();
        if (!player.isListening()) return false;
        _display.act({"sleep", "3"});  // until the instrument's name is known, by which the menu grows
        if (!_display.clickTray()) return false;
        _display.act({"sleep", "1"});  // while it is drawn
        const int scale = std::stoi(_look.scale);
        return _display.takePictureOfCorner(360 * scale, 190 * scale, _folder / ("menu-" + _look.name + ".png"));
    }

    /// Of the window that the keys open; one that was just shown may not have the keyboard yet.
    bool takeAfter(const std::string& keys, const std::string& title, const std::string& name) const {
        return waitFor(
            [&] {
                if (_display.shows("^" + title)) return take(title, name);
                _display.press(keys, "^Zelvane$");
                return false;
            },
            kPatience);
    }

    bool take(const std::string& title, const std::string& name) const {
        const std::string file = _folder / (name + "-" + _look.name + ".png");
        const bool isTaken = waitFor([&] { return _display.takePicture("^" + title, file); }, kPatience);
        std::cout << (isTaken ? "" : "not taken: ") << file << std::endl;
        return isTaken;
    }

    const Look& _look;
    const std::filesystem::path _folder;
    TemporaryFolder _home;
    SessionBus _bus;
    XServer _display;
    JackServer _sound;
    const bool _isReady;
};

}  // namespace
}  // namespace zelvane

int main(int count, char** words) {
    const QCoreApplication application(count, words);
    if (count != 2) return 2;
    bool isComplete = true;
    for (const auto& look : zelvane::kLooks) isComplete = zelvane::Photographer(look, words[1]).run() && isComplete;
    return isComplete ? 0 : 1;
}
