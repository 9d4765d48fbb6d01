// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Foundation/PropertyList.h"

#include <string>

namespace zelvane {

/// The value as JSON (RFC 8259) of several lines, keys in the order of their letters. What is no UTF-8 comes as U+FFFD,
/// data as an array of numbers, numbers that JSON lacks as null. The locale does not matter. Any thread.
std::string jsonText(const PropertyList& list);

}  // namespace zelvane
