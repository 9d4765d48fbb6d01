// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/OSC/OSCMessage.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace zelvane {

struct OSCPacket;

/// Packets under one time tag (NTP format), which the player does not use.
struct OSCBundle {
    std::uint64_t timeTag = 1;
    std::vector<OSCPacket> childPackets;
};

/// A parsed packet: a message or a bundle of packets.
struct OSCPacket {
    std::variant<OSCMessage, OSCBundle> content;

    bool isBundle() const { return std::holds_alternative<OSCBundle>(content); }
    /// The direct children of a bundle; none for a message.
    std::span<const OSCPacket> childPackets() const;
    /// The message; only for a packet that is not a bundle.
    const OSCMessage& message() const { return std::get<OSCMessage>(content); }
};

/// A packet, or why the bytes are none.
struct OSCParseResult {
    std::variant<OSCPacket, std::string> outcome;

    bool isPacket() const { return std::holds_alternative<OSCPacket>(outcome); }
    OSCPacket& packet() { return std::get<OSCPacket>(outcome); }
    const std::string& reason() const { return std::get<std::string>(outcome); }
};

/// Parses the bytes of one datagram. Reads nothing outside them, nests at most 16 bundles deep, takes at most 65,536
/// arguments. Any thread.
OSCParseResult parseOSCPacket(std::span<const std::byte> bytes);

/// The bytes of a message as they go out in a datagram. Opaque arguments cannot be sent and are left out.
std::vector<std::byte> serializeOSCMessage(const OSCMessage& message);

}  // namespace zelvane
