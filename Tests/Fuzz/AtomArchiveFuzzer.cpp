// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Audio/Instruments/Lv2/AtomArchive.h"
#include "Platform/Audio/Instruments/Lv2/Lv2Urids.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

using namespace zelvane;

namespace {

std::uint32_t typeFor(std::uint8_t choice) {
    const Lv2Urids& urids = Lv2Urids::get();
    const std::uint32_t types[] = {urids.atomObject, urids.atomTuple, urids.atomVector, urids.atomLiteral,
                                   urids.atomString, urids.atomFloat, urids.atomURID,   urids.atomChunk};
    return types[choice % std::size(types)];
}

}  // namespace

/// What a plug-in saves, or a file gives back: a value that is taken must be the same after a second way there and
/// back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) return 0;
    const auto archive = archivedAtom(typeFor(bytes[0]), std::as_bytes(std::span(bytes, size)).subspan(1));
    const auto value = archive ? unarchivedAtom(*archive) : std::nullopt;
    if (value && archivedAtom(value->type, value->bytes) != archive) std::abort();
    Error error;
    const auto list = parsePropertyList({reinterpret_cast<const char*>(bytes), size}, error);
    const auto read = list ? unarchivedAtom(*list) : std::nullopt;
    if (!read) return 0;
    const auto again = archivedAtom(read->type, read->bytes);
    if (again && !unarchivedAtom(*again)) std::abort();
    return 0;
}
