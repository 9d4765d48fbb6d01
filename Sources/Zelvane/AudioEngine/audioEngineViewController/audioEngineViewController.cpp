// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/AudioEngine/audioEngineViewController/audioEngineViewController.h"

namespace zelvane {

void audioEngineViewController::presentErrorAndExit(const Error& error) {
    _application.mainRunLoop().perform([&] { _application.presentErrorAndTerminate(error); }, RunLoop::Wait::yes);
}

void audioEngineViewController::viewServiceDidTerminateWithError(const Error& error) {
    _application.mainRunLoop().perform([self = shared_from_this(), error] { self->presentErrorAndExit(error); });
}

}  // namespace zelvane
