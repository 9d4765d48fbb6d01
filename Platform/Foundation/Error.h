// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <stdexcept>
#include <string>

namespace zelvane {

/// A failure the user may see: the area it belongs to, a small code, and a localized sentence.
struct Error {
    std::string domain;
    int code = 0;
    std::string description;
    std::string recoverySuggestion = {};  ///< what the user can do about it, shown below; may be empty

    bool operator==(const Error&) const = default;
};

/// An index or number outside its range. It ends the operation it arose in; a run loop catches it, logs it and goes on.
class RangeError : public std::out_of_range {
  public:
    using std::out_of_range::out_of_range;
};

}  // namespace zelvane
