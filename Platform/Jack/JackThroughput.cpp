// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackThroughput.h"

namespace zelvane {

template <typename Value>
void JackThroughput::set(Value& value, const Value& present) {
    const std::lock_guard lock(_mutex);
    if (value == present) return;
    value = present;
    ++_changes;
}

void JackThroughput::setAgeOfMessages(Range age) {
    set(_ageOfMessages, age);
}

JackThroughput::Range JackThroughput::ageOfMessages() const {
    const std::lock_guard lock(_mutex);
    return _ageOfMessages;
}

void JackThroughput::setTimeToSound(std::optional<Range> time) {
    set(_timeToSound, time);
}

std::optional<JackThroughput::Range> JackThroughput::timeToSound() const {
    const std::lock_guard lock(_mutex);
    return _timeToSound;
}

std::uint64_t JackThroughput::changes() const {
    const std::lock_guard lock(_mutex);
    return _changes;
}

}  // namespace zelvane
