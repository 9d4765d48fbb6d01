// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Graph/AudioPlatform.h"
#include "Platform/Foundation/Timer.h"
#include "Platform/Foundation/UserDefaults.h"
#include "Sources/Application.h"
#include "Sources/PlayerReport.h"
#include "Sources/Shell.h"
#include "Sources/Zelvane/Zelvane.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// The application: it starts the player thread and the player controller, lets listening begin and end, and shows
/// through its shell what the user has to know. Main thread, but for what says otherwise.
class AppDelegate : public Application {
  public:
    AppDelegate(RunLoop& mainRunLoop, AudioPlatform& platform, UserDefaults& defaults, Shell& shell);
    ~AppDelegate() override;

    /// The values that hold while the user has stored none.
    static PropertyList::Dictionary registeredDefaults();

    /// Starts everything up. Listening begins when the user's `autolaunch` is exactly 1, or when it is asked for here;
    /// then a port that can't be had ends the program.
    void applicationDidFinishLaunching(bool listensAtOnce);
    /// Ends the player thread. Afterwards the object may only be destroyed.
    void applicationWillTerminate();

    // The menu's actions.
    void startStopListening();
    /// Arms a recording after asking for its file, or ends the one that is armed or runs.
    void startStopRecording();
    void enableRecording(const std::filesystem::path& url);
    void allNotesOff();
    void sendMicroTunings();
    void preferencesDialog();

    // The window of the units' editors.
    /// Whether there is an editor for the first unit.
    bool hasAuView();
    void clearAUViews() override;
    void embedAUView(const std::shared_ptr<View>& view) override;
    void auViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode, const std::shared_ptr<View>& view) override;
    void showDeviceSettings();
    /// Shows the editor of the unit chosen in the window, and makes that unit the one whose edits the others follow.
    void changeUnitNumber();

    void bindToAddress();
    /// None when the user would rather not.
    std::optional<std::filesystem::path> urlFromUser(const std::vector<std::string>& allowedTypes);
    void statusDidChange() override;
    void didReceive() override;
    void blinkStatusIsRecording();

    /// Ends the program with that status. Any thread.
    void terminate(int status);
    int exitStatus() const { return _exitStatus.load(); }

    RunLoop& mainRunLoop() override { return _mainRunLoop; }
    void presentError(const Error& error) override { _shell.presentAlert(error, false); }
    void presentErrorAndTerminate(const Error& error) override;
    void showScanProgress(const std::string& instrument) override { _shell.showScanProgress(instrument); }
    void incrementScanProgress(std::uint32_t propertyID) override { _shell.incrementScanProgress(propertyID); }
    void hideScanProgress() override { _shell.hideScanProgress(); }
    void recordingDidFinish(const RecordingSummary& recording) override { _shell.showRecording(recording); }

    Zelvane* zelvane() { return _zelvane.get(); }

    /// How the player stands, for whoever asks.
    PlayerReport report();
    PlayerCounts counts();

  private:
    void musicDevicesDidChange();
    void showImage();
    void showStatus();
    void showCounts();
    void installRunLoopInPlayerThread();
    void playerThreadDummyTimerDo() {}
    void removePlayerThread();

    RunLoop& _mainRunLoop;
    AudioPlatform& _platform;
    UserDefaults& _defaults;
    Shell& _shell;
    const TimePoint _startTime = RunLoop::now();

    RunLoop _playerRunLoop;
    std::shared_ptr<Timer> _playerThreadDummyTimer;  // player thread
    bool _playerThreadMayEnd = false;                // player thread
    std::jthread _playerThread;

    std::shared_ptr<Timer> _zelvaneIsRecordingEnabledTimer;
    std::shared_ptr<Timer> _countsTimer;  // while the counts change
    PlayerCounts _shownCounts;
    bool _bindToAddressSucceeded = false;
    bool _musicDevicesHaveChanged = false;  // before there was a player to tell
    bool _preferencesDialogIsOpen = false;
    std::atomic<int> _exitStatus{0};  // written by whoever ends the program, read by the main thread
    std::unique_ptr<Zelvane> _zelvane;
};

}  // namespace zelvane
