// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Zelvane/MIDIDecoder/ScalaController/ScalaController.h"

#include "Platform/Foundation/Log.h"

#include <numeric>
#include <utility>

namespace zelvane {

ScalaController::ScalaController(const UserDefaults& userDefaults, ErrorPresenter presentError)
    : _userDefaults(userDefaults), _presentError(std::move(presentError)) {
    restoreKeymap();
    restoreTuningMap();
    _micromidiMap.resize(static_cast<std::size_t>(_lastMidi - _firstMidi));
    std::iota(_micromidiMap.begin(), _micromidiMap.end(), 0.0F);
}

bool ScalaController::isRegisteredDefault(const char* key, const std::string& path) const {
    const auto registered = _userDefaults.registeredObject(key);
    const auto* text = registered ? std::get_if<std::string>(&registered->value) : nullptr;
    return text != nullptr && *text == path;
}

/// False, the answer of an operation that refused its file.
bool ScalaController::refuse(const Error& error, std::string_view logText,
                             const std::vector<std::string>& logArguments) const {
    Log::write(logText, logArguments);
    _presentError(error);
    return false;
}

}  // namespace zelvane
