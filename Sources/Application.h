// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/Error.h"
#include "Platform/Foundation/RunLoop.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

namespace zelvane {

class AVAudioUnit;
class View;

/// A recording that is finished.
struct RecordingSummary {
    std::filesystem::path path;
    double seconds = 0;
    double lostSeconds = 0;  ///< of these are silence, as the disk was too slow
};

/// What the parts of the player need of the application they run in.
class Application {
  public:
    virtual ~Application() = default;

    /// The main thread's run loop. Any thread may use it.
    virtual RunLoop& mainRunLoop() = 0;

    /// Shows an error. Main thread.
    virtual void presentError(const Error& error) = 0;

    /// Brings what is shown of listening and recording up to date. Main thread.
    virtual void statusDidChange() = 0;

    /// Something came in to be played. Main thread.
    virtual void didReceive() {}

    /// The window that shows how far the search for an instrument's properties has come. Main thread.
    virtual void showScanProgress(const std::string& instrument) = 0;
    virtual void incrementScanProgress(std::uint32_t propertyID) = 0;
    virtual void hideScanProgress() = 0;

    /// The window in which the units' editors are stacked: takes all of them out. Main thread.
    virtual void clearAUViews() = 0;
    /// Shows that editor on top of the others, putting it among them when it is not yet there. Main thread.
    virtual void embedAUView(const std::shared_ptr<View>& view) = 0;
    /// The units are other ones than before: the first unit's node, and its editor or null. Main thread.
    virtual void auViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode, const std::shared_ptr<View>& view) = 0;

    /// A recording is finished: the file is as it will stay. Main thread.
    virtual void recordingDidFinish(const RecordingSummary& recording) = 0;

    /// Shows an error that ends the program, so that it is read first, and then ends it. Main thread.
    virtual void presentErrorAndTerminate(const Error& error) = 0;
};

/// Shows an error on the main thread and returns when that is done. Any thread.
inline void presentErrorWaiting(Application& application, const Error& error) {
    application.mainRunLoop().perform([&] { application.presentError(error); }, RunLoop::Wait::yes);
}

}  // namespace zelvane
