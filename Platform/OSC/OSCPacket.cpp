// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/OSC/OSCPacket.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace zelvane {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kMaxBundleDepth = 16;
constexpr std::size_t kMaxArguments = 65'536;
constexpr std::string_view kBundleMark = "#bundle\0"sv;

/// Walks over the bytes of one packet. Every read is checked against the end; the first failure sets the reason, and
/// all that follows gives up.
class Parser {
  public:
    explicit Parser(std::span<const std::byte> bytes)
        : _cursor(reinterpret_cast<const char*>(bytes.data())), _end(_cursor + bytes.size()) {}

    bool parsePacket(OSCPacket& packet, std::size_t depth);
    std::string takeReason() { return std::move(_reason); }

  private:
    bool parseBundle(OSCBundle& bundle, std::size_t depth);
    bool parseMessage(OSCMessage& message);
    bool parseArguments(std::string_view typeTags, std::vector<OSCArgument>& arguments);
    bool parseArgument(char typeTag, std::vector<OSCArgument>& arguments);
    bool skipOpaque(char typeTag);
    bool skipBlob();
    bool skip(std::size_t size);
    bool readString(std::string_view& text);
    template <typename T>
    bool readNumber(T& number);
    bool fail(std::string reason);

    std::size_t remaining() const { return static_cast<std::size_t>(_end - _cursor); }

    const char* _cursor;
    const char* _end;
    std::size_t _argumentCount = 0;
    std::string _reason;
};

bool Parser::fail(std::string reason) {
    _reason = std::move(reason);
    return false;
}

bool Parser::parsePacket(OSCPacket& packet, std::size_t depth) {
    if (remaining() == 0) return fail("empty packet");
    if (remaining() % 4 != 0) return fail("size is not a multiple of 4");
    if (*_cursor == '/') return parseMessage(std::get<OSCMessage>(packet.content));
    if (*_cursor != '#') return fail("address does not begin with /");
    if (depth == kMaxBundleDepth) return fail("bundles nested too deeply");
    return parseBundle(packet.content.emplace<OSCBundle>(), depth + 1);
}

bool Parser::parseBundle(OSCBundle& bundle, std::size_t depth) {
    if (!std::string_view(_cursor, remaining()).starts_with(kBundleMark)) return fail("neither address nor bundle");
    _cursor += kBundleMark.size();
    if (!readNumber(bundle.timeTag)) return false;
    const char* const bundleEnd = _end;
    while (_cursor != bundleEnd) {
        std::uint32_t size = 0;
        if (!readNumber(size)) return false;
        if (size > remaining()) return fail("bundle element reaches beyond its packet");
        _end = _cursor + size;
        if (!parsePacket(bundle.childPackets.emplace_back(), depth)) return false;
        _end = bundleEnd;
    }
    return true;
}

bool Parser::parseMessage(OSCMessage& message) {
    std::string_view address, typeTags;
    if (!readString(address)) return false;
    message.address = address;
    // Senders older than type tags may leave them out where there is nothing to describe.
    if (remaining() == 0) return true;
    if (*_cursor != ',') return fail("no type tags");
    if (!readString(typeTags)) return false;
    typeTags.remove_prefix(1);
    if (!parseArguments(typeTags, message.arguments)) return false;
    return remaining() == 0 || fail("more bytes than the type tags tell of");
}

bool Parser::parseArguments(std::string_view typeTags, std::vector<OSCArgument>& arguments) {
    _argumentCount += typeTags.size();
    if (_argumentCount > kMaxArguments) return fail("too many arguments");
    arguments.reserve(typeTags.size());
    std::size_t openArrays = 0;
    for (const char typeTag : typeTags) {
        openArrays += typeTag == '[';
        if (typeTag == ']' && openArrays-- == 0) return fail("array brackets do not match");
        if (!parseArgument(typeTag, arguments)) return false;
    }
    return openArrays == 0 || fail("array brackets do not match");
}

bool Parser::parseArgument(char typeTag, std::vector<OSCArgument>& arguments) {
    const auto appendNumber = [&]<typename Bits, typename Number>(Bits bits, Number) {
        if (!readNumber(bits)) return false;
        arguments.emplace_back(std::bit_cast<Number>(bits));
        return true;
    };
    std::string_view text;
    switch (typeTag) {
        case 'i':
            return appendNumber(std::uint32_t{}, std::int32_t{});
        case 'f':
            return appendNumber(std::uint32_t{}, float{});
        case 'h':
            return appendNumber(std::uint64_t{}, std::int64_t{});
        case 'd':
            return appendNumber(std::uint64_t{}, double{});
        case 's':
        case 'S':
            if (!readString(text)) return false;
            arguments.emplace_back(std::string(text));
            return true;
        default:
            if (!skipOpaque(typeTag)) return false;
            arguments.emplace_back(OSCOpaque{typeTag});
            return true;
    }
}

// Brackets are kept as arguments: with them left out, an array of four numbers would pass for four numbers.
bool Parser::skipOpaque(char typeTag) {
    switch (typeTag) {
        case 'b':
            return skipBlob();
        case 't':
            return skip(8);
        case 'c':
        case 'r':
        case 'm':
            return skip(4);
        case 'T':
        case 'F':
        case 'N':
        case 'I':
        case '[':
        case ']':
            return true;
        default:
            return fail("unknown type tag '" + std::string(1, typeTag) + "'");
    }
}

bool Parser::skipBlob() {
    std::uint32_t size = 0;
    if (!readNumber(size)) return false;
    if (size > remaining()) return fail("blob reaches beyond its packet");
    // What remains is a multiple of 4, so the padding fits whenever the blob does.
    return skip((size + std::size_t{3}) / 4 * 4);
}

bool Parser::skip(std::size_t size) {
    if (size > remaining()) return fail("truncated");
    _cursor += size;
    return true;
}

/// The start stands at a multiple of 4 and the packet ends at one: a string with its padding is so many whole words.
bool Parser::readString(std::string_view& text) {
    for (const char* word = _cursor; word != _end; word += 4) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, word, sizeof bits);
        const bool hasZero = ((bits - 0x01010101U) & ~bits & 0x80808080U) != 0;
        if (!hasZero) continue;
        const char* const end = std::find(word, word + 4, '\0');
        if (std::any_of(end, word + 4, [](char padding) { return padding != 0; })) {
            return fail("string is not padded with zeros");
        }
        text = {_cursor, static_cast<std::size_t>(end - _cursor)};
        _cursor = word + 4;
        return true;
    }
    return fail("string without an end");
}

template <typename T>
bool Parser::readNumber(T& number) {
    if (remaining() < sizeof number) return fail("truncated");
    std::memcpy(&number, _cursor, sizeof number);
    if constexpr (std::endian::native == std::endian::little) {
        number = sizeof number == 4 ? static_cast<T>(__builtin_bswap32(static_cast<std::uint32_t>(number)))
                                    : static_cast<T>(__builtin_bswap64(number));
    }
    _cursor += sizeof number;
    return true;
}

}  // namespace

std::span<const OSCPacket> OSCPacket::childPackets() const {
    const auto* bundle = std::get_if<OSCBundle>(&content);
    return bundle != nullptr ? std::span<const OSCPacket>(bundle->childPackets) : std::span<const OSCPacket>();
}

OSCParseResult parseOSCPacket(std::span<const std::byte> bytes) {
    OSCParseResult result{OSCPacket{}};
    Parser parser(bytes);
    if (!parser.parsePacket(result.packet(), 0)) result.outcome = parser.takeReason();
    return result;
}

}  // namespace zelvane
