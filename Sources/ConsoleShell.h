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

  private:
    PlayerStatus _shown;
};

}  // namespace zelvane
