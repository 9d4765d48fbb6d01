// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/Alsa/SystemExclusive.h"

namespace zelvane {

void SystemExclusive::add(std::span<const std::uint8_t> piece, const std::function<void(Message)>& whole) {
    constexpr std::uint8_t kBegin = 0xF0;
    constexpr std::uint8_t kEnd = 0xF7;
    for (const std::uint8_t byte : piece) {
        if (byte == kBegin) {
            _message.assign(1, kBegin);
        } else if (_message.empty()) {
            continue;
        } else if (byte == kEnd) {
            _message.push_back(kEnd);
            whole(_message);
            _message = {};
        } else if (byte < 0x80 && _message.size() + 1 < kLongest) {
            _message.push_back(byte);
        }
    }
}

}  // namespace zelvane
