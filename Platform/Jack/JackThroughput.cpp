// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Jack/JackThroughput.h"

namespace zelvane {

void JackThroughput::setAgeOfMessages(Range age) {
    const std::lock_guard lock(_mutex);
    _ageOfMessages = age;
}

JackThroughput::Range JackThroughput::ageOfMessages() const {
    const std::lock_guard lock(_mutex);
    return _ageOfMessages;
}

void JackThroughput::setTimeToSound(std::optional<Range> time) {
    const std::lock_guard lock(_mutex);
    _timeToSound = time;
}

std::optional<JackThroughput::Range> JackThroughput::timeToSound() const {
    const std::lock_guard lock(_mutex);
    return _timeToSound;
}

}  // namespace zelvane
