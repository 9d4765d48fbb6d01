// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Units/MIDIRefusals.h"

#include "Platform/Foundation/Log.h"

#include <array>
#include <atomic>
#include <string>

namespace zelvane {

namespace {

enum Kind : std::size_t { statusTooLow, statusTooHigh, dataTooHigh, kindCount };

constexpr std::array<const char*, kindCount> kReasons{
    "its status is no status byte", "its status is no channel message", "its first data byte is above 127"};

// Written and read by control threads.
std::array<std::atomic<std::uint64_t>, kindCount> refusals{};

OSStatus refuse(Kind kind, std::uint32_t status, std::uint32_t data1, std::uint32_t data2) {
    if (refusals[kind].fetch_add(1, std::memory_order_relaxed) == 0) {
        Log::write("MusicDevice: [%@] refused %@ %@ %@, %@; further ones of the kind are only counted",
                   {"MusicDeviceMIDIEvent", std::to_string(status), std::to_string(data1), std::to_string(data2),
                    kReasons[kind]});
    }
    return kAudio_ParamError;
}

}  // namespace

OSStatus checkMIDIEvent(std::uint32_t status, std::uint32_t data1, std::uint32_t data2) {
    if (status < 0x80) return refuse(statusTooLow, status, data1, data2);
    if (status > 0xEF) return refuse(statusTooHigh, status, data1, data2);
    if (data1 > 127) return refuse(dataTooHigh, status, data1, data2);
    return kNoError;
}

std::uint64_t refusedMIDIEvents() {
    std::uint64_t sum = 0;
    for (const auto& count : refusals) sum += count.load(std::memory_order_relaxed);
    return sum;
}

}  // namespace zelvane
