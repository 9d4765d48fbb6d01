// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCPacket.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool holds) {
    if (!holds) std::abort();
}

/// What can be sent of a message must come back the same, byte for byte.
void checkMessage(const zelvane::OSCMessage& message) {
    require(message.address.starts_with('/'));
    require(message.argumentsDescription().find('\n') == std::string::npos);
    for (const auto& argument : message.arguments) require(!argument.intValue() || argument.isNumber());
    const auto bytes = zelvane::serializeOSCMessage(message);
    auto again = zelvane::parseOSCPacket(bytes);
    require(again.isPacket());
    require(zelvane::serializeOSCMessage(again.packet().message()) == bytes);
}

void checkPacket(const zelvane::OSCPacket& packet, int depth) {
    require(depth <= 16);
    if (!packet.isBundle()) checkMessage(packet.message());
    for (const auto& child : packet.childPackets()) checkPacket(child, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto result = zelvane::parseOSCPacket({reinterpret_cast<const std::byte*>(data), size});
    if (result.isPacket()) {
        checkPacket(result.packet(), 0);
    } else {
        require(!result.reason().empty());
    }
    return 0;
}
