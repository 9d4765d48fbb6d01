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

    /// The window that shows how far the search for an instrument's properties has come. Main thread.
    virtual void showScanProgress(const std::string& instrument) = 0;
    virtual void incrementScanProgress(std::uint32_t propertyID) = 0;
    virtual void hideScanProgress() = 0;

    /// The units are other ones than before, so the editors that are shown are not theirs; the node is the first
    /// unit's. Main thread.
    virtual void microUnitAuViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode) = 0;

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
