// SPDX-License-Identifier: GPL-3.0-or-later
#include "Resources/ManagedSession.h"

#include "Platform/Foundation/Folders.h"
#include "Platform/Session/NsmClient.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace zelvane {

ManagedSession::ManagedSession(RunLoop& mainRunLoop) : _mainRunLoop(mainRunLoop) {
    const char* url = std::getenv("NSM_URL");
    if (url == nullptr || *url == '\0') return;
    _manager = std::make_unique<NsmClient>(mainRunLoop, url);
    _manager->announce("Zelvane", program_invocation_short_name);
    while (_manager->state() == NsmClient::State::waiting && mainRunLoop.runOnce()) continue;
    settle();
}

ManagedSession::~ManagedSession() = default;

bool ManagedSession::isOpen() const {
    return _manager != nullptr && _manager->session().has_value();
}

void ManagedSession::settle() {
    switch (_manager->state()) {
        case NsmClient::State::open:
            return enter();
        case NsmClient::State::refused:
            _refusal = _manager->reason();
            break;
        case NsmClient::State::unreachable:
            // The variable outlives the manager that set it.
            std::cerr << "zelvane: " + _manager->reason() + ", so it runs without one.\n";
            break;
        case NsmClient::State::waiting:
            break;  // the program is to end
    }
    _manager.reset();
}

/// What a session restores are the wires that were there when it was saved: more would undo what the user did.
void ManagedSession::enter() {
    const auto& session = *_manager->session();
    const bool isNew = std::filesystem::is_empty(session.folder);
    _jackPresence.clientName = session.clientID;
    _jackPresence.midiClientName = session.clientID + "/MIDI";
    _jackPresence.connectsAtStart = isNew;
    setPreferencesFolder(session.folder);
}

void ManagedSession::begin(UserDefaults& defaults) {
    if (!isOpen() || _mainRunLoop.hasEnded()) return;
    _jackPresence.hasStarted->store(true);
    std::cout << "Zelvane: in the session " + _manager->session()->displayName + "\n" << std::flush;
    _manager->answerOpen([&defaults](Error& error) {
        if (defaults.saveAnyway()) return true;
        error.description = "unable to write the settings; the player's output says why";
        return false;
    });
}

}  // namespace zelvane
