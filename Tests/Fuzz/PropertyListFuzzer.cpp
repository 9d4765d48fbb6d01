// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Foundation/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Whatever is read must come back as it is when it was written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    zelvane::Error error;
    const auto list = zelvane::parsePropertyList({reinterpret_cast<const char*>(bytes), size}, error);
    if (!list) return error.description.empty() ? std::abort(), 0 : 0;
    const std::string xml = zelvane::serializePropertyList(*list);
    const auto again = zelvane::parsePropertyList(xml, error);
    // As texts, since NaN is not equal to itself.
    if (!again || zelvane::serializePropertyList(*again) != xml) std::abort();
    return 0;
}
