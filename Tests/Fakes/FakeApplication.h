// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Application.h"

#include <string>
#include <thread>
#include <vector>

namespace zelvane {

/// An application without a face: it keeps what it would have shown. Its main run loop is the test's.
class FakeApplication final : public Application {
  public:
    explicit FakeApplication(RunLoop& mainRunLoop) : _mainRunLoop(mainRunLoop) {}

    RunLoop& mainRunLoop() override { return _mainRunLoop; }
    void statusDidChange() override { ++statusChanges; }
    void showScanProgress(const std::string& instrument) override { progress.push_back("show " + instrument); }
    void incrementScanProgress(std::uint32_t propertyID) override { lastProgress = propertyID; }
    void hideScanProgress() override { progress.emplace_back("hide"); }
    void clearAUViews() override {}
    void embedAUView(const std::shared_ptr<View>&) override {}
    void auViewDidChange(const std::shared_ptr<AVAudioUnit>& synthNode, const std::shared_ptr<View>&) override {
        viewsThread = std::this_thread::get_id();
        firstUnit = synthNode;
    }
    void recordingDidFinish(const RecordingSummary& recording) override { recordings.push_back(recording); }
    void presentError(const Error& error) override { errors.push_back(error); }
    void presentErrorAndTerminate(const Error& error) override {
        fatalErrors.push_back(error);
        _mainRunLoop.end();
    }

    std::vector<Error> errors, fatalErrors;    ///< main thread
    std::vector<RecordingSummary> recordings;  ///< main thread
    int statusChanges = 0;                     ///< main thread
    std::vector<std::string> progress;         ///< main thread
    std::uint32_t lastProgress = 0;            ///< main thread
    std::weak_ptr<AVAudioUnit> firstUnit;      ///< main thread
    std::thread::id viewsThread;               ///< that brought the editors

  private:
    RunLoop& _mainRunLoop;
};

}  // namespace zelvane
