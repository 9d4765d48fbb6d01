// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCPacket.h"

#include <bit>
#include <string_view>
#include <type_traits>

namespace zelvane {

namespace {

using Bytes = std::vector<std::byte>;

/// Ends at the first NUL, which no string of a packet can hold, and is filled up with one to four of them.
void appendString(Bytes& bytes, std::string_view text) {
    text = text.substr(0, text.find('\0'));
    for (const char character : text) bytes.push_back(static_cast<std::byte>(character));
    bytes.resize((bytes.size() / 4 + 1) * 4);
}

template <typename Bits>
void appendBits(Bytes& bytes, Bits bits) {
    for (int shift = 8 * (static_cast<int>(sizeof bits) - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::byte>(bits >> shift));
    }
}

char typeTagOf(const OSCArgument::Value& value) {
    static constexpr char kTypeTags[] = {'i', 'h', 'f', 'd', 's'};
    static_assert(std::variant_size_v<OSCArgument::Value> == std::size(kTypeTags) + 1);
    return kTypeTags[value.index()];
}

void appendArgument(Bytes& bytes, const OSCArgument::Value& value) {
    std::visit(
        [&bytes](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::string>) {
                appendString(bytes, held);
            } else if constexpr (!std::is_same_v<Held, OSCOpaque>) {
                using Bits = std::conditional_t<sizeof(Held) == 4, std::uint32_t, std::uint64_t>;
                appendBits(bytes, std::bit_cast<Bits>(held));
            }
        },
        value);
}

}  // namespace

std::vector<std::byte> serializeOSCMessage(const OSCMessage& message) {
    std::string typeTags = ",";
    for (const auto& argument : message.arguments) {
        if (argument.isNumber() || argument.isString()) typeTags += typeTagOf(argument.value());
    }
    Bytes bytes;
    appendString(bytes, message.address);
    appendString(bytes, typeTags);
    for (const auto& argument : message.arguments) appendArgument(bytes, argument.value());
    return bytes;
}

}  // namespace zelvane
