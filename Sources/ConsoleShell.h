// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/Shell.h"

namespace zelvane {

/// The shell without a desktop: alerts go to standard error, the state to standard output and the service manager.
class ConsoleShell : public Shell {
  public:
    void presentAlert(const Error& error, bool endsProgram) override;
    void showStatus(const PlayerStatus& status) override;
    void showRecording(const RecordingSummary& recording) override;
    // A console has no windows.
    void showScanProgress(const std::string& /*instrument*/) override {}
    void incrementScanProgress(std::uint32_t /*propertyID*/) override {}
    void hideScanProgress() override {}
    void showEditors(const std::shared_ptr<AVAudioUnit>& /*firstUnit*/) override {}

  private:
    PlayerStatus _shown;
};

}  // namespace zelvane
