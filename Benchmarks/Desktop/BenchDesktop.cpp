// SPDX-License-Identifier: GPL-3.0-or-later

// How long after its start the player shows its status item and listens; whether windows that open, move and close
// cost cycles of JACK.

#include "Benchmarks/Common/Require.h"
#include "Benchmarks/Common/Statistics.h"
#include "Benchmarks/Desktop/LostTime.h"
#include "Benchmarks/Desktop/OpenedWindows.h"
#include "Tests/EndToEnd/JackCapture.h"
#include "Tests/EndToEnd/RunningPlayer.h"
#include "Tests/Fakes/JackServer.h"
#include "Tests/Fakes/StatusNotifierWatcher.h"

#include <QCoreApplication>
#include <algorithm>
#include <cstdio>
#include <string_view>
#include <thread>
#include <vector>

using namespace zelvane;

namespace {

constexpr unsigned kRate = 48000;
constexpr unsigned kPeriod = 256;
constexpr std::size_t kStarts = 20;
constexpr std::chrono::seconds kPhase(30);

/// A display, its window manager and a bus.
struct DesktopRig {
    DesktopRig() {
        require(bus.start() && display.start() && display.startWindowManager(), "no display without a screen");
    }
    ChildProcess::Environment environment() const {
        auto all = display.environment();
        all.merge(bus.environment());
        all["XDG_RUNTIME_DIR"] = runtime.path;
        all["QT_QPA_PLATFORM"] = "";
        return all;
    }

    SessionBus bus;
    XServer display;
    TemporaryFolder runtime;
};

double millisecondsSince(TimePoint start) {
    return std::chrono::duration<double, std::milli>(Clock::monotonic().now() - start).count();
}

void measureStarts() {
    const DesktopRig desktop;
    StatusNotifierWatcher tray(desktop.bus);
    require(tray.begin(), "no bus");
    std::vector<double> shown, both;
    for (std::size_t start = 0; start < kStarts; ++start) {
        const TimePoint begin = Clock::monotonic().now();
        const RunningPlayer player({"--device", "null", "--set", "autolaunch=1"}, {}, desktop.environment());
        require(tray.hasItem(), "no status item");
        shown.push_back(millisecondsSince(begin));
        require(player.isListening(), "it does not listen");
        both.push_back(millisecondsSince(begin));
        tray.forgetItems();
    }
    std::printf("%-44s %7s %8s\n", "milliseconds from the start of the program", "median", "largest");
    std::printf("%-44s %7.0f %8.0f\n", "status item shown", median(shown), largest(shown));
    std::printf("%-44s %7.0f %8.0f\n", "shown and listening", median(both), largest(both));
}

/// How often the server says that somebody was late.
std::size_t linesWith(const std::string& text, std::string_view client) {
    std::size_t count = 0;
    for (auto at = text.find("XRun: client"); at != std::string::npos; at = text.find("XRun: client", at + 1)) {
        if (text.substr(at, text.find('\n', at) - at).find(client) != std::string::npos) ++count;
    }
    return count;
}

/// What a player's cycles came to on a server, so far.
struct Losses {
    Losses(const JackServer& server, const RunningPlayer& player)
        : late(linesWith(server.output(), "Zelvane")), wait(realtimeWaitOf(player.id())), stolen(stolenTime()) {}

    /// After the phase, the gaps in it and those at its beginning.
    void print(const char* phase, TimePoint begin, const std::string& gaps, const Losses& before) const {
        const auto milliseconds = [](auto time) { return std::chrono::duration<double, std::milli>(time).count(); };
        std::printf("%-44s %7.0f %8s %8zu %8.0f %9.0f\n", phase, millisecondsSince(begin) / 1000, gaps.c_str(),
                    late - before.late, milliseconds(wait - before.wait), milliseconds(stolen - before.stolen));
        std::fflush(stdout);
    }

    std::size_t late;
    std::chrono::nanoseconds wait, stolen;
};

void printHead(const std::string& name) {
    std::printf("%-44s %7s %8s %8s %8s %9s\n", name.c_str(), "seconds", "gaps", "of ours", "wait/ms", "stolen/ms");
}

/// A player on a JACK server that plays a chord again and again, and somebody who listens.
class Stage {
  public:
    explicit Stage(const std::string& instrument, const std::string& bundle = "mda.lv2")
        : _started(_server.start(kRate, kPeriod)),
          _player({"--set", "autolaunch=1", "--set", "musicDevice=" + instrument}, {bundle, "core.lv2"},
                  desktop.environment()) {
        require(_started && _player.isListening() && _player.startAgain().first == 0, "no player");
        require(waitFor([&] { return _ear.isOpen() && _ear.connect(); }), "nothing to listen to");
        waitUntilItSounds();
        printHead(instrument);
    }

    /// Prints what the server lost while that was done for the length of a phase.
    void observe(const char* what, const std::function<void()>& work) {
        const std::size_t first = _ear.count();
        const Losses before(_server, _player);
        const TimePoint begin = Clock::monotonic().now();
        while (Clock::monotonic().now() - begin < kPhase) {
            playChord();
            work();
        }
        const std::size_t gaps = _ear.gapCount(first, _ear.count());
        Losses(_server, _player).print(what, begin, std::to_string(gaps), before);
    }

    static void rest() { std::this_thread::sleep_for(std::chrono::seconds(1)); }

    const DesktopRig desktop;
    const OpenedWindows windows{desktop.display};

  private:
    void playChord() const {
        for (int note = 0; note < 10; ++note) _player.send({"/om/note", {{6000 + 210 * note}, {80}, {2000}, {1}}});
    }
    void waitUntilItSounds() const {
        const auto sounds = [&] {
            playChord();
            rest();
            return _ear.hasSoundAfter(0);
        };
        require(waitFor(sounds, 120), "nothing is heard");
    }

    JackServer _server;
    const bool _started;
    const RunningPlayer _player;
    JackCapture _ear{1200};
};

void measureDialogs() {
    Stage stage("DLSMusicDevice");
    stage.observe("no window opened", Stage::rest);
    const auto use = [&](const char* keys, const char* title) {
        stage.windows.open(keys, title);
        stage.windows.move(title);
        stage.windows.close("Escape", title);
    };
    stage.observe("preferences", [&] { use("ctrl+comma", "^Zelvane Preferences"); });
    stage.observe("SoundFont editor", [&] { use("ctrl+i", "DLSMusicDevice"); });
    stage.observe("no window opened", Stage::rest);
}

void measureEditor(const std::string& instrument, const std::string& bundle) {
    Stage stage(instrument, bundle);
    stage.observe("no window opened", Stage::rest);
    stage.observe("editor", [&] {
        stage.windows.open("ctrl+i", instrument);
        stage.windows.move(instrument);
        stage.windows.close("alt+F4", instrument);
    });
}

/// The scan of an instrument whose properties nobody has listed, while it is installed and JACK asks it for sound.
void measureScan() {
    const TemporaryFolder folder;
    JackServer server;
    require(server.start(kRate, kPeriod), "no JACK server");
    const DesktopRig desktop;
    const OpenedWindows windows(desktop.display);
    const RunningPlayer player({"--set", "autolaunch=1"}, {}, desktop.environment(),
                               RunningPlayer::copyWithoutLists(folder.path));
    const std::string title = "^Scan DLSMusicDevice";
    require(waitFor([&] { return windows.isShown(title); }), "it does not scan");
    printHead("DLSMusicDevice");
    const TimePoint begin = Clock::monotonic().now();
    const Losses before(server, player);
    while (windows.isShown(title)) windows.move(title);
    Losses(server, player).print("scan window", begin, "", before);
}

}  // namespace

/// The arguments are the words of what to measure; without any, all is.
int main(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    const std::vector<std::string_view> words(arguments + 1, arguments + count);
    const auto isWanted = [&](std::string_view word) {
        return words.empty() || std::ranges::find(words, word) != words.end();
    };
    return runBenchmark([&] {
        if (isWanted("start")) measureStarts();
        if (isWanted("dialogs")) measureDialogs();
        if (isWanted("generated")) measureEditor("MDA JX10", "mda.lv2");
        if (isWanted("native")) measureEditor("synthv1", "synthv1.lv2");
        if (isWanted("scan")) measureScan();
    });
}
