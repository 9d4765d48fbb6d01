// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/Units/AVAudioUnit.h"
#include "Sources/Application.h"

#include <memory>
#include <utility>

namespace zelvane {

/// A unit's editor as the engine keeps it, with what is to be done when the process that shows it ends. The editors of
/// this machine's desktop live in the player's own process, so that only their makers' faults can end them, and then
/// the player with them.
class audioEngineViewController final : public ViewController,
                                        public std::enable_shared_from_this<audioEngineViewController> {
  public:
    audioEngineViewController(Application& application, std::shared_ptr<ViewController> editor)
        : _application(application), _editor(std::move(editor)) {}

    std::shared_ptr<View> view() override { return _editor->view(); }

    /// Shows the error and ends the program; returns when that is done. Any thread.
    void presentErrorAndExit(const Error& error);
    /// What showed the editor has ended. Any thread; waits for nothing.
    void viewServiceDidTerminateWithError(const Error& error);

  private:
    Application& _application;
    const std::shared_ptr<ViewController> _editor;
};

}  // namespace zelvane
