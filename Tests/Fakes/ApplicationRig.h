// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/AppDelegate.h"
#include "Sources/ConsoleShell.h"
#include "Tests/Fakes/DrivenClock.h"
#include "Tests/Fakes/LogLines.h"
#include "Tests/Fakes/MemoryMIDI.h"
#include "Tests/Fakes/OneOf.h"
#include "Tests/Fakes/PrivateDataFolder.h"
#include "Tests/Fakes/RecordingInstrument.h"
#include "Tests/Fakes/StillDevice.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zelvane {

/// A shell whose user is the test.
class FakeShell final : public ConsoleShell {
  public:
    void presentAlert(const Error& error, bool) override { alerts.push_back(error.description); }
    void showStatus(const PlayerStatus& status) override {
        shown = status;
        ++timesShown;
    }
    bool showsCounts() const override { return true; }
    void showRecording(const RecordingSummary&) override {}
    std::optional<std::filesystem::path> runSavePanel(const std::string& title, const std::string& nameLabel,
                                                      const std::string& name,
                                                      const std::vector<std::string>& allowedTypes) override {
        panels.push_back(title + "|" + nameLabel + "|" + name + "|" + allowedTypes.front());
        return file;
    }
    int runPreferencesDialog(Zelvane&) override {
        if (duringDialog) duringDialog();
        return answer;
    }

    std::vector<std::string> alerts, panels;
    PlayerStatus shown;
    int timesShown = 0;
    std::optional<std::filesystem::path> file;  ///< that the user chooses
    int answer = 0;                             ///< to the preferences dialog
    std::function<void()> duringDialog;
};

/// A whole application on recording instruments, whose main thread is the test and whose time is driven.
struct ApplicationRig {
    ApplicationRig() { loop.attachToCurrentThread(); }

    /// Lets the main thread's time pass.
    void runFor(Duration span) { runUntil(loop, clock.now() + span); }

    LogLines log;
    PrivateDataFolder data;
    TemporaryFolder folder;
    DrivenClock clock;
    RunLoop loop{clock};
    UserDefaults defaults{folder.path / "defaults.plist"};
    MemoryMIDI midi{loop};
    FakeShell shell;
    AudioPlatform platform{oneOf<AudioDeviceBackEnd>(std::make_unique<StillBackEnd>()),
                           oneOf<AudioComponentProvider>(std::make_unique<RecordingProvider>(
                               std::vector<std::string>{"DLSMusicDevice", "zither"}))};
    AppDelegate application{loop, platform, defaults, shell};
};

}  // namespace zelvane
