// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace zelvane {

/// A parameter's information as the value of `kAudioUnitProperty_ParameterInfo`, whose element is the parameter's ID.
struct AudioUnitParameterInfo {
    char name[52] = {};  ///< UTF-8, cut to fit, ends with a zero byte
    float minimum = 0;
    float maximum = 1;
    float defaultValue = 0;
    std::uint32_t flags = 0;
};

inline constexpr std::uint32_t kAudioUnitParameterFlag_IsWritable = 1U << 31;
inline constexpr std::uint32_t kAudioUnitParameterFlag_IsReadable = 1U << 30;
inline constexpr std::uint32_t kAudioUnitParameterFlag_IsInteger = 1U << 0;
inline constexpr std::uint32_t kAudioUnitParameterFlag_IsToggled = 1U << 1;
inline constexpr std::uint32_t kAudioUnitParameterFlag_IsLogarithmic = 1U << 2;

}  // namespace zelvane
