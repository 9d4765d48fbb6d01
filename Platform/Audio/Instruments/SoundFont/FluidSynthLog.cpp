// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/SoundFont/FluidSynthLog.h"

#include "Platform/Audio/RealtimeScope.h"
#include "Platform/Foundation/Log.h"
#include "Platform/Foundation/Text.h"

#include <fluidsynth.h>

#include <mutex>

namespace zelvane {

namespace {

constinit thread_local bool isQuiet = false;

void writeLine(int, const char* message, void*) {
    if (RealtimeScope::isActive() || isQuiet || message == nullptr) return;
    Log::write("SoundFont: [%@] FluidSynth reports: %@", {"fluidSynthLog", printable(message)});
}

}  // namespace

void installFluidSynthLog() {
    static std::once_flag once;
    std::call_once(once, [] {
        for (const int level : {FLUID_PANIC, FLUID_ERR, FLUID_WARN}) fluid_set_log_function(level, writeLine, nullptr);
        for (const int level : {FLUID_INFO, FLUID_DBG}) fluid_set_log_function(level, nullptr, nullptr);
    });
}

FluidSynthSilence::FluidSynthSilence() noexcept : _former(isQuiet) {
    isQuiet = true;
}

FluidSynthSilence::~FluidSynthSilence() {
    isQuiet = _former;
}

}  // namespace zelvane
