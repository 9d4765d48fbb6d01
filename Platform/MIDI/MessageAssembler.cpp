// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/MIDI/MessageAssembler.h"

namespace zelvane {

namespace {

constexpr std::uint8_t kExclusive = 0xF0;
constexpr std::uint8_t kEndOfExclusive = 0xF7;
constexpr std::uint8_t kFirstRealTime = 0xF8;

/// With the status; 0 for what is none that a message begins with.
std::size_t lengthOf(std::uint8_t status) {
    switch (status) {
        case kExclusive:
            return MessageAssembler::kLongest;
        case 0xF1:
        case 0xF3:
            return 2;
        case 0xF2:
            return 3;
        case 0xF6:
            return 1;
        default:
            break;
    }
    if (status > kExclusive) return 0;
    return (status & 0xE0U) == 0xC0U ? 2 : 3;
}

}  // namespace

void MessageAssembler::add(std::span<const std::uint8_t> bytes, const std::function<void(Message)>& whole) {
    for (const std::uint8_t byte : bytes) {
        if (byte >= kFirstRealTime) {
            whole({&byte, 1});
            continue;
        }
        bool isComplete = false;
        const bool isExclusive = !_message.empty() && _message[0] == kExclusive;
        if (byte == kEndOfExclusive && isExclusive) {
            _message.push_back(byte);
            isComplete = true;
        } else if (byte >= 0x80) {
            isComplete = begin(byte);
        } else if (!_message.empty() && _message.size() + (isExclusive ? 1 : 0) < _length) {
            _message.push_back(byte);
            isComplete = !isExclusive && _message.size() == _length;
        }
        if (!isComplete) continue;
        whole(_message);
        _message.clear();
    }
}

/// True for a message of the status alone.
bool MessageAssembler::begin(std::uint8_t status) {
    _message.clear();
    _length = lengthOf(status);
    if (_length > 0) _message.push_back(status);
    return _length == 1;
}

}  // namespace zelvane
