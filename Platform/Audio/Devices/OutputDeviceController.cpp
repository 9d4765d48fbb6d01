// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Devices/OutputDeviceController.h"

#include "Platform/Audio/Devices/OutputDeviceWatch.h"

namespace zelvane {

OutputDeviceController::OutputDeviceController(std::vector<std::unique_ptr<AudioDeviceBackEnd>> backEnds,
                                               AudioRenderer& renderer, std::function<void()> housekeeping)
    : _watch(std::make_unique<Watch>(std::move(backEnds), renderer, std::move(housekeeping))) {}

OutputDeviceController::~OutputDeviceController() = default;

void OutputDeviceController::select(const Choice& choice) {
    _watch->select(choice);
}

void OutputDeviceController::setPeriodFrames(std::uint32_t frames) {
    _watch->setPeriodFrames(frames);
}

OutputDeviceController::Status OutputDeviceController::status() const {
    return _watch->status();
}

std::vector<std::pair<OutputDeviceController::Choice, AudioDeviceInfo>> OutputDeviceController::devices() {
    return _watch->devices();
}

OutputDeviceController::Choice OutputDeviceController::defaultDevice() {
    return _watch->defaultDevice();
}

}  // namespace zelvane
