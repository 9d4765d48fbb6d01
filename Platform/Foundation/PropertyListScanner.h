// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zelvane {

/// What is wrong with the outer shape of an XML property list, with the line, or nothing: only known elements, each
/// closed by its own end, at most `deepest` inside each other, values nowhere but where they belong. The parser behind
/// it takes the stack's depth from the file and guesses at broken ones, so nothing reaches it that could be read in two
/// ways.
std::optional<std::string> complaintAboutXml(std::string_view xml, std::size_t deepest);

}  // namespace zelvane
