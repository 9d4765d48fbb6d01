// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace zelvane {

/// The number that stands for a URI in this process; never saved. 0 when there are too many. Any thread; real-time safe
/// for a URI that has a number already.
std::uint32_t lv2Urid(const char* uri);

/// The URI of a number, or null. It stays good for the life of the process. Any thread, real-time safe.
const char* lv2Uri(std::uint32_t urid) noexcept;

/// The numbers that messages are read and written with.
struct Lv2Urids {
    std::uint32_t atomBool, atomChunk, atomDouble, atomFloat, atomInt, atomLong, atomObject, atomPath, atomSequence,
        atomString, atomTuple, atomURI, atomURID, atomVector, atomBlank, atomLiteral;
    std::uint32_t midiEvent;
    std::uint32_t patchGet, patchSet, patchPut, patchProperty, patchValue, patchBody;

    /// Any thread; real-time safe after the first call.
    static const Lv2Urids& get();

  private:
    Lv2Urids();
};

}  // namespace zelvane
