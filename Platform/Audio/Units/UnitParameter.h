// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Audio/AudioTypes.h"

#include <string>
#include <utility>
#include <vector>

namespace zelvane {

/// What there is to know of a parameter. All are of the global scope, element 0.
struct UnitParameter {
    AudioUnitParameterID id = 0;
    std::string symbol = {};  ///< stable over versions: what saved state refers to
    std::string name = {};
    std::string unit = {};  ///< as shown behind the value; may be empty
    float minimum = 0;
    float maximum = 1;
    float defaultValue = 0;
    bool isWritable = true;
    bool isInteger = false;
    bool isToggled = false;
    bool isLogarithmic = false;
    std::vector<std::pair<float, std::string>> valueNames = {};  ///< named values, for a choice
    std::string group = {};                                      ///< what it is shown under; may be empty
};

}  // namespace zelvane
